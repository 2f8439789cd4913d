// What it takes to run a script, from the start of the command to its end.
#include "bench/command.h"
#include "bench/harness.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::bench {

namespace {

constexpr const char* kScript =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<korvid><Process name=\"\"><Exec><section "
    "name=\"main\"></section></Exec></Process></korvid>\n";

Row row(const std::string& name, Role role, const std::string& command, long count) {
  return {name, role, [=] {
            double spent = 0;
            for (long i = 0; i < count; ++i) {
              spent += seconds_until_end(start(command));
            }
            return 1000 * spent / static_cast<double>(count);
          }};
}

std::vector<Group> groups(const Options& options) {
  static const test::TempDir directory;
  const std::string script = directory.path("one.xml");
  const std::string empty = directory.path("empty.lua");
  test::write_file(script, kScript);
  test::write_file(empty, "");
  const long count = options.quick ? 1 : 20;
  Group group{
      "a script with one section, from start to end",
      "ms",
      {row("fwrun", Role::kOurs, std::string(FWRUN_PROGRAM) + " " + script + " main", count),
       row("Xerces-C started and stopped", Role::kFloor, XERCES_PROGRAM, count)},
      {}};
  if (*LUA_PROGRAM != '\0') {
    group.rows.push_back({row("lua", Role::kPeer, LUA_PROGRAM " " + empty, count)});
    group.targets.push_back({"fwrun", "lua", 3});
  }
  return {group};
}

}  // namespace

}  // namespace fwbase::bench

int main(int argc, char** argv) {
  return fwbase::bench::run("start", argc, argv, fwbase::bench::groups);
}
