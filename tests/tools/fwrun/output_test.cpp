#include <gtest/gtest.h>

#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

constexpr struct {
  Stdout kind;
  const char* reason;
} kLost[] = {{Stdout::kClosed, "Bad file descriptor"},
             {Stdout::kFullDevice, "No space left on device"},
             {Stdout::kBrokenPipe, "Broken pipe"}};

}  // namespace

TEST(FwrunOutput, AListThatCannotBeWrittenIsStatus1) {
  const ScriptFile script(script_with("<section name=\"s\"/>"));
  const std::vector<std::vector<std::string>> kCommands = {
      {"--help"}, {"--version"}, {"--list", script.path()}, {"--print", script.path()}};
  for (const auto& lost : kLost) {
    for (const std::vector<std::string>& command : kCommands) {
      SCOPED_TRACE(command.front() + ": " + lost.reason);
      const ProgramResult result = run_fwrun(command, lost.kind);
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.err,
                std::string("fwrun: cannot write to standard output: ") + lost.reason + "\n");
    }
  }
}

TEST(FwrunOutput, APrintThatCannotBeWrittenFailsItsCall) {
  const ScriptFile script(
      script_with("<section name=\"s\">" + print_call("x") +
                  "<log><level>alert</level><text>never</text></log></section>"));
  for (const auto& lost : kLost) {
    SCOPED_TRACE(lost.reason);
    const ProgramResult result = run_fwrun({script.path()}, lost.kind);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(without_places(result.err)
                  .rfind("fwrun: section 's', call 1, print: SCRIPT_BAD_PARAM (0x00080003)", 0),
              0U)
        << result.err;
    EXPECT_NE(result.err.find(std::string("\nfwrun:   print: cannot write to standard output: ") +
                              lost.reason + "\n"),
              std::string::npos)
        << result.err;
  }
}

// A file that is opened while descriptor 1 is closed must not become the standard output.
TEST(FwrunOutput, AClosedStandardOutputDoesNotEndInTheLog) {
  const ScriptFile script(
      script_with("<section name=\"s\">" + print_call("lost text") + "</section>"));
  const std::string log = script.directory() + "/run.log";
  const ProgramResult result =
      run_fwrun({script.path(), "--log", log, "--level", "all"}, Stdout::kClosed);
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(read_file(log).find("print: cannot write"), std::string::npos) << read_file(log);
  EXPECT_EQ(read_file(log).find("lost text\n"), std::string::npos) << read_file(log);
}

}  // namespace fwrun::test
