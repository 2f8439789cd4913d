// One registry of named strings, addresses and objects.
#ifndef FWBASE_GLOBAL_ENV_GLOBAL_ENV_H
#define FWBASE_GLOBAL_ENV_GLOBAL_ENV_H

#include <fwbase/iglobal_env.h>

namespace fwbase {

class CGlobalEnvImpl : public IGlobalEnv {
 public:
  explicit CGlobalEnvImpl(IGlobalEnv*) {}
  ec::EC init() override { return ec::GENV_OK; }
  void release() override {}
  ec::EC insert_str(const char*, const char*) override { return ec::GENV_BAD_PARAM; }
  const std::string& get_str(const char*) override { static const std::string e; return e; }
  ec::EC get_str(const char*, const char*&) override { return ec::GENV_BAD_PARAM; }
  ec::EC mod_str(const char*, const char*) override { return ec::GENV_BAD_PARAM; }
  ec::EC ex_str(const char*, const char*, bool) override { return ec::GENV_BAD_PARAM; }
  void rm_str(const char*) override {}
  ec::EC insert_addr(const char*, void*) override { return ec::GENV_BAD_PARAM; }
  void* get_addr(const char*) override { return nullptr; }
  ec::EC get_addr(const char*, void*&) override { return ec::GENV_BAD_PARAM; }
  ec::EC mod_addr(const char*, void*) override { return ec::GENV_BAD_PARAM; }
  void rm_addr(const char*) override {}
  ec::EC insert_obj(const char*, const IObject*) override { return ec::GENV_BAD_PARAM; }
  ec::EC get_obj(const char*, IObject**) override { return ec::GENV_BAD_PARAM; }
  ec::EC mod_obj(const char*, const IObject*) override { return ec::GENV_BAD_PARAM; }
  void rm_obj(const char*) override {}
};

}  // namespace fwbase

#endif
