// Every allocation fails once: alloc_faults <scenario> [--long]
//
// A host program whose allocations, and those of all libraries that it uses, can be refused. It
// tries each operation of a scenario with its first allocation failing, its second, and so on.
#include "tests/faults/alloc_faults.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <thread>
#include <xercesc/util/PlatformUtils.hpp>

#include "tests/faults/failing_allocations.h"

namespace fwbase::faults {

namespace {

bool long_form = false;

constexpr int kTriedAll = 60;  // first allocations that the quick form tries as well
constexpr int kGrowth = 7;     // then the n-th and the (n + n/7)-th

struct Operation {
  const std::string& name;
  const Act& act;
  const Check& check;
};

// Takes every lock for writing.
void use_every_component() {
  int key = 0;
  facade()->destroy_global_env(&key);
  facade()->global_env(static_cast<void*>(&key));
  if (facade()->global_env() != nullptr) {
    facade()->global_env()->rm_str("nobody");
    facade()->mm()->query_mid(1);
    facade()->mm()->destroy_mid(1);
    facade()->script()->rm_value("nobody");
    facade()->runlog()->type(IRunLog::ms_type_sign);
  }
}

// The outcome, or nothing when an exception came out.
std::optional<Outcome> attempt(const Operation& operation, int n, Failing failing) {
  const FailingAllocations memory(n, failing);
  try {
    return operation.act();
  } catch (...) {
    return std::nullopt;
  }
}

void try_once(const Operation& operation, int n, Failing failing) {
  const std::optional<Outcome> outcome = attempt(operation, n, failing);
  const bool injected = FailingAllocations::injected();
  expect(outcome.has_value(), "an exception came out");
  expect(outcome != Outcome::kNoMemory || injected, "no memory although none was refused");
  operation.check(outcome.value_or(Outcome::kNoMemory));
  std::thread(use_every_component).join();
}

// One fault and a clean attempt. False when the operation needs less than n allocations.
bool fail_and_repeat(const Operation& operation, int n, Failing failing) {
  try_once(operation, n, failing);
  const bool injected = FailingAllocations::injected();
  try_once(operation, 0, failing);
  return injected;
}

// What is left behind must be left again and again to count: caches are filled once.
bool leaves_blocks(const Operation& operation, int n, Failing failing) {
  constexpr int kRepetitions = 4;
  for (int i = 0; i < kRepetitions; ++i) {
    const long before = live_allocations();
    fail_and_repeat(operation, n, failing);
    if (live_allocations() <= before) {
      return false;
    }
  }
  return true;
}

// What the XML library leaves behind when it has no memory, and nobody else can give back: a
// converter whose owner it could not make, and a list of elements that it could not make whole.
constexpr std::initializer_list<const char*> kLeftByOthers = {"ucnv_createConverter",
                                                              "DOMDeepNodeListPool"};

// Says whether there are any.
bool look_for_blocks(const Operation& operation, int n, Failing failing) {
  if (!leaves_blocks(operation, n, failing)) {
    return false;
  }
  RecordedAllocations allocations;
  try_once(operation, n, failing);
  allocations.stop();
  try_once(operation, 0, failing);  // gives back what the first attempt has left in place
  return !expect(allocations.print_live(kLeftByOthers) == 0, "blocks are left behind");
}

void fail_each(const Operation& operation, Failing failing) {
  bool leaks = false;  // told once
  for (int n = 1;; n = next_after(n)) {
    begin_step(operation.name, "allocation " + std::to_string(n) +
                                   (failing == Failing::kAllFrom ? " and all later ones" : ""));
    const long before = live_allocations();
    if (!fail_and_repeat(operation, n, failing)) {
      return;
    }
    count_fault();
    if (!leaks && live_allocations() > before) {
      leaks = look_for_blocks(operation, n, failing);
    }
  }
}

struct Scenario {
  const char* name;
  void (*run)();
};

// The XML library in use by the host: it takes long to start, and a library that only an engine
// uses is started and stopped with it.
class XmlPlatform {
 public:
  XmlPlatform() { xercesc::XMLPlatformUtils::Initialize(); }
  ~XmlPlatform() { xercesc::XMLPlatformUtils::Terminate(); }
  XmlPlatform(const XmlPlatform&) = delete;
  XmlPlatform& operator=(const XmlPlatform&) = delete;
};

void run(const Scenario& scenario) {
  if (scenario.run == whole_life) {
    whole_life();
  } else {
    const XmlPlatform platform;
    scenario.run();
  }
}

constexpr Scenario kScenarios[] = {{"log_direct", log_direct},
                                   {"log_queued", log_queued},
                                   {"log_journal", log_journal},
                                   {"log_rotation", log_rotation},
                                   {"log_macros", log_macros},
                                   {"environments", environments},
                                   {"keyed_environments", keyed_environments},
                                   {"components", components},
                                   {"modules", modules},
                                   {"data_blocks", data_blocks},
                                   {"script_values", script_values},
                                   {"script_load", script_load},
                                   {"script_exec", script_exec},
                                   {"script_save", script_save},
                                   {"xml_document", xml_document},
                                   {"xml_elements", xml_elements},
                                   {"strings", strings},
                                   {"whole_life", whole_life}};

}  // namespace

int next_after(int n) { return n + (long_form || n < kTriedAll ? 1 : n / kGrowth); }

void fail_each_allocation(const std::string& name, const Act& act, const Check& check) {
  const Operation operation{name, act, check};
  begin_step(name, "no fault");
  try_once(operation, 0, Failing::kOne);
  fail_each(operation, Failing::kOne);
  fail_each(operation, Failing::kAllFrom);
}

void fail_in_vain(const std::string& operation, const std::function<void()>& act,
                  const std::function<void()>& check) {
  fail_each_allocation(
      operation,
      [&] {
        act();
        return Outcome::kDone;
      },
      [&](Outcome) { check(); });
}

Outcome outcome_of(ec::EC code, ec::EC no_memory, ec::EC other) {
  expect(ec::succeeded(code) || code == no_memory || (other != 0 && code == other), ec::name(code));
  return ec::succeeded(code) ? Outcome::kDone : Outcome::kNoMemory;
}

LoggingFacade::LoggingFacade() {
  expect(ec::succeeded(facade()->init()), "init()");
  expect(ec::succeeded(facade()->runlog()->file("/dev/null")), "the log file");
  facade()->runlog()->info(IRunLog::INFO_TIME | IRunLog::INFO_PID | IRunLog::INFO_TID);
  facade()->runlog()->type(~0u);
}

LoggingFacade::~LoggingFacade() { facade()->release(); }

}  // namespace fwbase::faults

int main(int argc, char** argv) {
  using namespace fwbase::faults;
  long_form = argc == 3 && std::strcmp(argv[2], "--long") == 0;
  for (const Scenario& scenario : kScenarios) {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
      std::printf("%s\n", scenario.name);
    }
    if (argc > 1 && std::strcmp(argv[1], scenario.name) == 0) {
      begin_scenario(std::string("alloc_faults ") + scenario.name);
      run(scenario);
      return end_scenario();
    }
  }
  if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
    return 0;
  }
  std::fprintf(stderr, "usage: alloc_faults <scenario>|--list [--long]\n");
  return 2;
}
