// What a module leaves behind.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/harness/matching.h"
#include "tests/harness/temp_dir.h"
#include "tests/tools/fwmod/fwmod_program.h"

using fwbase::test::has_match;
using fwbase::test::read_file;

namespace fwmod::test {
namespace {

void expect_left(const std::string& name, const std::string& lines) {
  expect_exercise(3, name, "sound, but leaves behind:" + lines);
}

}  // namespace

TEST(FwmodLeftovers, ScriptFunctions) {
  const std::string advice =
      ": only the engine's own release() takes it back; run no section after the module's "
      "release()";
  expect_left("leaves_functions",
              "\n  script function \"greet\"" + advice + "\n  script function \"查询\"" + advice);
}

TEST(FwmodLeftovers, ScriptFunctionsThatAreNoStaticObjects) {
  expect_left("leaves_dynamic_functions",
              "\n  script function \"greet\": only the engine's own release() takes it back; its "
              "object may be gone by then: make it a static one");
}

TEST(FwmodLeftovers, ObjectsInEnvironments) {
  const std::string advice =
      ": its code is in the library, which is unloaded before environments are emptied; remove it "
      "in release()";
  expect_left("leaves_object",
              "\n  object \"forgotten\" in the default environment" + advice +
                  "\n  object \"forgotten\" in the environment of key 0x10" + advice +
                  "\n  the environment of key 0x10: it still exists; whoever made it destroys it "
                  "with destroy_global_env()");
}

TEST(FwmodLeftovers, AddressesInEnvironments) {
  expect_left("leaves_address",
              "\n  address \"counter\" in the default environment: it points into the library, "
              "which is unloaded; remove it in release()"
              "\n  address \"module\" in the default environment: it is that of the released "
              "module; remove it in release()");
}

TEST(FwmodLeftovers, IdentifiersAndModules) {
  const std::string advice =
      "; whoever made it takes it back with destroy_mid(), before the module is destroyed";
  expect_left("leaves_identifiers",
              "\n  identifier 7: it names the released module" + advice +
                  "\n  identifier 65537: it names a module whose code is in the library" + advice +
                  "\n  module made by a function: still valid; whoever made it destroys it with "
                  "destroy_module()");
}

TEST(FwmodLeftovers, InstalledComponents) {
  expect_left("leaves_runlog",
              "\n  run log: the one that it installed is still in use; install the former one "
              "again in release()");
}

TEST(FwmodLeftovers, Threads) {
  expect_left("leaves_thread",
              "\n  thread \"worker\": it still runs, in code that is unloaded; end and join it in "
              "release()");
}

TEST(FwmodLeftovers, DescriptorsAndChildProcesses) {
  const std::string path = fault("leaves_process_resources");
  const ProgramResult result = run_fwmod({"--exercise", path});
  EXPECT_EQ(result.status, 3);
  EXPECT_TRUE(has_match(result.out,
                        "^" + path +
                            ": sound, but leaves behind:\n"
                            "  descriptor [0-9]+ \\(/dev/zero\\): it is still open; close it in "
                            "release\\(\\)\n"
                            "  child process: nobody has waited for its end; do so in "
                            "release\\(\\)\n$"))
      << result.out;
}

TEST(FwmodLeftovers, ChildProcessesAreKilled) {
  const ProgramResult result = run_fwmod({"--exercise", fault("leaves_process_resources")});
  const std::string stat = "/proc/" + std::to_string(std::stoi(result.err)) + "/stat";
  // Killed already, but maybe not gone yet.
  const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (has_match(read_file(stat), "\\) [RSDTt] ") &&
         std::chrono::steady_clock::now() < patience) {
    std::this_thread::yield();
  }
  EXPECT_FALSE(has_match(read_file(stat), "\\) [RSDTt] "));
}

}  // namespace fwmod::test
