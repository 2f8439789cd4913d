// The built-in script engine.
#ifndef FWBASE_SCRIPT_SCRIPT_H
#define FWBASE_SCRIPT_SCRIPT_H

#include <fwbase/iscript.h>

namespace fwbase {

class CScript : public IScript {
 public:
  ec::EC init() override { return ec::SCRIPT_OK; }
  void release() override {}
  bool expand_syntax(ISyntax*) override { return false; }
  ec::EC load_script(const char*) override { return ec::SCRIPT_E_LOAD; }
  ec::EC save_script() override { return ec::SCRIPT_E_SAVE; }
  ec::EC execute(void*) override { return ec::SCRIPT_OK; }
  ec::EC exec_scommad(const char*, void*) override { return ec::SCRIPT_E_SECTION; }
  ec::EC get_value(const char*, VType, void*) const override { return ec::SCRIPT_NOT_FOUND; }
  ec::EC set_value(const char*, VType, const void*) override { return ec::SCRIPT_E_PARAM; }
  ec::EC rm_value(const char*) override { return ec::SCRIPT_NOT_FOUND; }
  ec::EC get_value_env(const char*, VType, void*, void*) const override { return ec::SCRIPT_NOT_FOUND; }
  ec::EC set_value_env(const char*, VType, const void*, void*) override { return ec::SCRIPT_E_PARAM; }
};

}  // namespace fwbase

#endif
