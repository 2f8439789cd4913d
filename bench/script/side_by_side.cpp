// Threads that run the same section, each in an environment of its own. Where they take no turns,
// two of them on two processors make twice the calls in the same time: a call takes half of it.
#include "bench/script/side_by_side.h"

#include <algorithm>
#include <array>

#include "bench/facade.h"
#include "bench/script/caller.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::bench {

namespace {

constexpr int kMostThreads = 4;

// The same code for all that call it.
[[gnu::noinline]] void spin(long rounds) {
  for (long round = 0; round < rounds; ++round) {
    keep(round);
  }
}

// What this processor makes in a nanosecond, the best of several times: others may be at work.
double rounds_per_nanosecond() {
  constexpr long kRounds = 2000000;
  static const double rounds = [] {
    double least = own_nanoseconds_each(kRounds, [] { spin(kRounds); });
    for (int time = 0; time < 10; ++time) {
      least = std::min(least, own_nanoseconds_each(kRounds, [] { spin(kRounds); }));
    }
    return 1 / least;
  }();
  return rounds;
}

/// Called through its interface, by the engine or without it.
class Function : public IScript::ISyntax {
 public:
  explicit Function(double nanoseconds)
      : m_rounds(static_cast<long>(nanoseconds * rounds_per_nanosecond())) {}

  const char* name() override { return "work"; }
  IScript::VType* param_types() override { return nullptr; }
  int param_count() override { return 0; }
  ec::EC call(const IScript::VValue*, void*, const char*) override {
    spin(m_rounds);
    return ec::SCRIPT_OK;
  }

 private:
  const long m_rounds;
};

std::string script_text() {
  std::string text =
      "<korvid><template><Func name='work'/></template><Process name=''><Exec>"
      "<section name='run'>";
  for (int i = 0; i < kCalls; ++i) {
    text += "<work/>";
  }
  return text + "</section></Exec></Process></korvid>";
}

struct Work {
  double nanoseconds;  ///< that a function takes
  int threads;
  long runs;  ///< of each thread
};

// Calls run(thread) for each run of each thread. Not counted is what a first run makes.
template <typename Run>
double nanoseconds_per_call(const Work& work, Run run) {
  run(0);
  return nanoseconds_each(work.threads * work.runs * kCalls, [&] {
    on_threads(work.threads, [&](int thread) {
      for (long i = 0; i < work.runs; ++i) {
        run(thread);
      }
    });
  });
}

double with_script(const Work& work) {
  Function function(work.nanoseconds);
  const Facade facade;
  IScript& script = *facade->script();
  const test::TempDir directory;
  const std::string path = directory.path("bench.xml");
  test::write_file(path, script_text());
  if (!script.expand_syntax(&function)) {
    throw std::runtime_error("cannot register a function");
  }
  require(script.load_script(path.c_str()));
  std::array<char, kMostThreads> environments;
  return nanoseconds_per_call(work, [&](int thread) {
    require(script.exec_scommad("run", &environments[static_cast<std::size_t>(thread)]));
  });
}

// Not where the function is made: the compiler would know it and call it directly.
[[gnu::noinline]] void call_each(const std::vector<IScript::ISyntax*>& functions) {
  for (IScript::ISyntax* function : functions) {
    keep(function->call(nullptr, nullptr, nullptr));
  }
}

double without_script(const Work& work) {
  Function function(work.nanoseconds);
  const std::vector<IScript::ISyntax*> functions(kCalls, &function);
  return nanoseconds_per_call(work, [&](int) { call_each(functions); });
}

std::string row_name(const char* kind, int threads) {
  return std::string(kind) + ", " + std::to_string(threads) +
         (threads == 1 ? " thread" : " threads");
}

// The targets are calls a second, as multiples of those of one thread.
Group group_of(const char* duration, double nanoseconds, long runs, double two, double four) {
  const std::string one = row_name("fwbase", 1);
  Group group{std::string("sections side by side, functions of ") + duration,
              "ns per call",
              {},
              {{row_name("fwbase", 2), one, 1 / two}, {row_name("fwbase", 4), one, 1 / four}}};
  for (const int threads : {1, 2, kMostThreads}) {
    const Work work{nanoseconds, threads, runs};
    const auto size = static_cast<double>(threads);
    group.rows.push_back(
        {row_name("fwbase", threads), Role::kOurs, [=] { return with_script(work); }, size});
    group.rows.push_back({row_name("without a script", threads), Role::kFloor,
                          [=] { return without_script(work); }, size});
  }
  return group;
}

}  // namespace

std::vector<Group> side_by_side_groups(const Options& options) {
  return {group_of("1 ns", 1, options.operations(1000), 1.6, 1.5),
          group_of("100 ns", 100, options.operations(500), 1.8, 1.7),
          group_of("1.1 us", 1100, options.operations(60), 1.9, 1.85)};
}

}  // namespace fwbase::bench
