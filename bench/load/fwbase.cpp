// The script engine: the document is parsed, checked, and made into calls.
#include "bench/facade.h"
#include "bench/load/loader.h"

namespace fwbase::bench {

namespace {

struct Nothing : IScript::ISyntax {
  IScript::VType types[2] = {IScript::VT_INT, IScript::VT_STRING};
  const char* name() override { return "nothing"; }
  IScript::VType* param_types() override { return types; }
  int param_count() override { return 2; }
  ec::EC call(const IScript::VValue*, void*, const char*) override { return ec::SCRIPT_OK; }
};

class Engine : public Loader {
 public:
  Engine() {
    if (!m_facade->script()->expand_syntax(&m_nothing)) {
      throw std::runtime_error("cannot register a function");
    }
  }

  void load(const char* path) override { require(m_facade->script()->load_script(path)); }

 private:
  Nothing m_nothing;
  Facade m_facade;
};

const RegisterLoader engine("fwbase", Role::kOurs,
                            []() -> std::unique_ptr<Loader> { return std::make_unique<Engine>(); });

}  // namespace

}  // namespace fwbase::bench
