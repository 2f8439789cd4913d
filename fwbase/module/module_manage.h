// The built-in module manager.
#ifndef FWBASE_MODULE_MODULE_MANAGE_H
#define FWBASE_MODULE_MODULE_MANAGE_H

#include <fwbase/imm.h>

namespace fwbase {

class CModuleManage : public IMM {
 public:
  ec::EC init() override { return ec::MM_OK; }
  void release() override {}
  ec::EC create_module(IBase*&, const char*, const char*, void*) override { return ec::MM_BAD_PARAM; }
  ec::EC create_module(IBase*&, IFactory*, void*) override { return ec::MM_BAD_PARAM; }
  ec::EC create_module(IBase*&, IBase* (*)(), void*) override { return ec::MM_BAD_PARAM; }
  IFactory* get_module_factory(IBase*) const override { return nullptr; }
  bool is_valid(IBase*) const override { return false; }
  bool destroy_module(IBase*) override { return false; }
  bool create_mid(unsigned int, IBase*) override { return false; }
  unsigned int auto_create_mid(IBase*) override { return 0; }
  void destroy_mid(unsigned int) override {}
  IBase* query_mid(unsigned int) const override { return nullptr; }
};

}  // namespace fwbase

#endif
