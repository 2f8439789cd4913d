// The script engine: variables, and calls of a section.
#include <algorithm>
#include <tuple>

#include "bench/script/caller.h"
#include "bench/script/variables.h"

namespace fwbase::bench {

namespace {

std::string row_name(const CallerKind& kind, int registered) {
  return kind.name + ", " + with_commas(registered) + " functions";
}

double nanoseconds_per_call(const CallerKind& kind, Arguments arguments, int registered,
                            long runs) {
  const std::unique_ptr<Caller> caller = kind.make(arguments, registered);
  caller->run();
  return own_nanoseconds_each(runs * kCalls, [&] {
    for (long i = 0; i < runs; ++i) {
      caller->run();
    }
  });
}

// Only the calls without arguments are plotted.
Group call_group(const std::string& title, Arguments arguments, const std::vector<int>& sizes,
                 long runs) {
  const std::string ten = "fwbase, 10 functions";
  Group group{title,
              "ns per call",
              {},
              {{ten, "", 30},
               {ten, "Lua C function, lua_pcall, 10 functions", 2},
               {"fwbase, 1,000 functions", ten, 1.1}},
              arguments == Arguments::kNone ? "calls" : ""};
  for (const CallerKind& kind : caller_kinds()) {
    for (const int size : sizes) {
      group.rows.push_back({row_name(kind, size), kind.role,
                            [=] { return nanoseconds_per_call(kind, arguments, size, runs); },
                            static_cast<double>(size), kind.name});
    }
  }
  return group;
}

std::vector<Group> groups(const Options& options) {
  std::sort(caller_kinds().begin(), caller_kinds().end(),
            [](const CallerKind& a, const CallerKind& b) {
              return std::tie(a.role, a.name) < std::tie(b.role, b.name);
            });
  const long runs = options.operations(300);
  std::vector<Group> result = variable_groups(options);
  result.push_back(call_group("call, no argument", Arguments::kNone, {10, 100, 1000}, runs));
  result.push_back(call_group("call, 2 ints", Arguments::kTwoInts, {10, 1000}, runs));
  result.push_back(call_group("call, a string", Arguments::kString, {10, 1000}, runs));
  result.push_back(call_group("call, a variable", Arguments::kVariable, {10, 1000}, runs));
  return result;
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  return fwbase::bench::run("script", argc, argv, fwbase::bench::groups);
}
