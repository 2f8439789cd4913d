// The script engine with the function that the files call.
#ifndef FWBASE_BENCH_LOAD_ENGINE_H
#define FWBASE_BENCH_LOAD_ENGINE_H

#include "bench/facade.h"
#include "bench/load/loader.h"

namespace fwbase::bench {

class Engine : public Loader {
 public:
  Engine() {
    if (!script().expand_syntax(&m_nothing)) {
      throw std::runtime_error("cannot register a function");
    }
  }

  void load(const char* path) override { require(script().load_script(path)); }

  IScript& script() { return *m_facade->script(); }

 private:
  struct Nothing : IScript::ISyntax {
    IScript::VType types[2] = {IScript::VT_INT, IScript::VT_STRING};
    const char* name() override { return "nothing"; }
    IScript::VType* param_types() override { return types; }
    int param_count() override { return 2; }
    ec::EC call(const IScript::VValue*, void*, const char*) override { return ec::SCRIPT_OK; }
  };

  Nothing m_nothing;
  Facade m_facade;
};

}  // namespace fwbase::bench

#endif
