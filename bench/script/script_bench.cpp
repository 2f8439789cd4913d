// The script engine: variables, calls of a section, and sections that run side by side.
#include <algorithm>
#include <tuple>

#include "bench/script/caller.h"
#include "bench/script/side_by_side.h"
#include "bench/script/variables.h"

namespace fwbase::bench {

namespace {

constexpr const char* kTenFunctions = "fwbase, 10 functions";

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
  Group group{title,
              "ns per call",
              {},
              {{"fwbase, 1,000 functions", kTenFunctions, 1.1}},
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

Group within(double limit, Group group) {
  group.targets.push_back({kTenFunctions, "Lua C function, lua_pcall, 10 functions", limit});
  return group;
}

std::vector<Group> groups(const Options& options) {
  std::sort(caller_kinds().begin(), caller_kinds().end(),
            [](const CallerKind& a, const CallerKind& b) {
              return std::tie(a.role, a.name) < std::tie(b.role, b.name);
            });
  const long runs = options.operations(300);
  std::vector<Group> result = variable_groups(options);
  const std::vector<int> sizes{10, 1000};
  result.push_back(
      within(1.3, call_group("call, no argument", Arguments::kNone, {10, 100, 1000}, runs)));
  result.push_back(within(0.8, call_group("call, 2 ints", Arguments::kTwoInts, sizes, runs)));
  result.push_back(within(1.2, call_group("call, a text", Arguments::kText, sizes, runs)));
  result.push_back(
      within(1, call_group("call, an int variable", Arguments::kIntVariable, sizes, runs)));
  result.push_back(call_group("call, a text variable", Arguments::kTextVariable, sizes, runs));
  for (Group& group : side_by_side_groups(options)) {
    result.push_back(std::move(group));
  }
  return result;
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  return fwbase::bench::run("script", argc, argv, fwbase::bench::groups);
}
