// Registers script functions.
#include <fwbase/module.h>

namespace {

struct Function : fwbase::IScript::ISyntax {
  explicit Function(const char* text) : m_name(text) {}
  const char* name() override { return m_name; }
  fwbase::IScript::VType* param_types() override { return nullptr; }
  int param_count() override { return 0; }
  ec::EC call(const fwbase::IScript::VValue*, void*, const char*) override { return ec::SCRIPT_OK; }

  const char* m_name;
};

Function greet("greet");
Function query("\xe6\x9f\xa5\xe8\xaf\xa2");

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    fwbase::IScript& script = *fwbase::IFWBase::instance()->script();
    return script.expand_syntax(&greet) && script.expand_syntax(&query) ? ec::MM_OK
                                                                        : ec::MM_BAD_PARAM;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
