// Registers a script function that goes with the module.
#include <fwbase/module.h>

namespace {

struct Module : fwbase::IMM::IBase, fwbase::IScript::ISyntax {
  ec::EC init(void*) override {
    return fwbase::IFWBase::instance()->script()->expand_syntax(this) ? ec::MM_OK
                                                                      : ec::MM_BAD_PARAM;
  }
  void release() override { delete this; }

  const char* name() override { return "greet"; }
  fwbase::IScript::VType* param_types() override { return nullptr; }
  int param_count() override { return 0; }
  ec::EC call(const fwbase::IScript::VValue*, void*, const char*) override { return ec::SCRIPT_OK; }
};

}  // namespace

FWBASE_MODULE(Module)
