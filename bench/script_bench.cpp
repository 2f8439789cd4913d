// The script engine: variables, calls of a section, loading.
#include <benchmark/benchmark.h>

#include <fstream>

#include "bench/facade.h"

namespace {

using fwbase::IScript;
using fwbase::bench::Facade;

// A host function with an int and a string parameter that does nothing.
struct Nothing : IScript::ISyntax {
  IScript::VType types[2] = {IScript::VT_INT, IScript::VT_STRING};
  const char* name() override { return "nothing"; }
  IScript::VType* param_types() override { return types; }
  int param_count() override { return 2; }
  ec::EC call(const IScript::VValue*, void*, const char*) override { return ec::SCRIPT_OK; }
};

// A script with one section of `calls` calls.
std::string write_script(const Facade& facade, long calls) {
  const std::string path = facade.path("bench.xml");
  std::ofstream file(path);
  file << "<korvid><template><Func name='nothing'><param tag='number' type='int'/>"
          "<param tag='text' type='string'/></Func></template>"
          "<Process name=''><Exec><section name='run'>\n";
  for (long i = 0; i < calls; ++i) {
    file << "<nothing><number>" << i << "</number><text>some text</text></nothing>\n";
  }
  file << "</section></Exec></Process></korvid>\n";
  return path;
}

void check(benchmark::State& state, ec::EC result) {
  if (ec::failed(result)) {
    state.SkipWithError(ec::name(result));
  }
}

void GetValue(benchmark::State& state) {
  const Facade facade;
  const int number = 1;
  check(state, facade->script()->set_value("number", IScript::VT_INT, &number));
  int read = 0;
  for (auto _ : state) {
    facade->script()->get_value("number", IScript::VT_INT, &read);
    benchmark::DoNotOptimize(read);
  }
}
BENCHMARK(GetValue);

void SetValue(benchmark::State& state) {
  const Facade facade;
  int number = 0;
  for (auto _ : state) {
    facade->script()->set_value("number", IScript::VT_INT, &++number);
  }
}
BENCHMARK(SetValue);

void GetValueEnv(benchmark::State& state) {
  const Facade facade;
  int env = 0;
  const int number = 1;
  check(state, facade->script()->set_value_env("number", IScript::VT_INT, &number, &env));
  int read = 0;
  for (auto _ : state) {
    facade->script()->get_value_env("number", IScript::VT_INT, &read, &env);
    benchmark::DoNotOptimize(read);
  }
}
BENCHMARK(GetValueEnv);

// One iteration runs a section of a thousand calls; items are calls.
void SectionCall(benchmark::State& state) {
  constexpr long kCalls = 1000;
  const Facade facade;
  Nothing nothing;
  facade->script()->expand_syntax(&nothing);
  check(state, facade->script()->load_script(write_script(facade, kCalls).c_str()));
  for (auto _ : state) {
    check(state, facade->script()->exec_scommad("run", nullptr));
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}
BENCHMARK(SectionCall);

// One iteration loads a script into a fresh engine; its argument is the number of calls.
void LoadScript(benchmark::State& state) {
  const Facade facade;
  Nothing nothing;
  const std::string path = write_script(facade, state.range(0));
  for (auto _ : state) {
    facade->script()->expand_syntax(&nothing);
    check(state, facade->script()->load_script(path.c_str()));
    state.PauseTiming();
    facade->script()->release();
    check(state, facade->script()->init());
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(LoadScript)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
