// What the engines under test have in common: they call host functions that do nothing.
#ifndef FWBASE_BENCH_SCRIPT_CALLER_H
#define FWBASE_BENCH_SCRIPT_CALLER_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/harness.h"

namespace fwbase::bench {

/// What a call hands over.
enum class Arguments { kNone, kTwoInts, kText, kIntVariable, kTextVariable };

/// Calls in one run. They go to kCalled functions in turn, so that a program with 1,000 functions
/// calls the same number of them as one with 10.
constexpr int kCalls = 1000;
constexpr int kCalled = 10;

class Caller {
 public:
  virtual ~Caller() = default;
  /// Makes kCalls calls.
  virtual void run() = 0;
};

struct CallerKind {
  std::string name;
  Role role;
  /// With so many functions registered, of which every (registered / kCalled)th is called.
  std::function<std::unique_ptr<Caller>(Arguments arguments, int registered)> make;
};

/// All that are built in, in no particular order.
inline std::vector<CallerKind>& caller_kinds() {
  static std::vector<CallerKind> kinds;
  return kinds;
}

/// A source file of a caller has one of these for each kind.
struct RegisterCaller {
  template <typename Make>
  RegisterCaller(const char* name, Role role, Make make) {
    caller_kinds().push_back({name, role, make});
  }
};

inline std::string function_name(int number) { return "function_" + std::to_string(number); }

/// Which function the call of that number goes to.
inline int called_function(int call, int registered) {
  return call % kCalled * (registered / kCalled);
}

}  // namespace fwbase::bench

/// The arguments of all calls: the text has 32 bytes.
#define BENCH_FIRST_INT 4711
#define BENCH_SECOND_INT 1968
#define BENCH_TEXT "visitor 4711 from 192.0.2.10, ok"

#endif
