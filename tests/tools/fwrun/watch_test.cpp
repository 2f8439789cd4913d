// fwrun --watch.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <utility>

#include "tests/harness/running_program.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::RunningProgram;
using fwbase::test::ScriptFile;
using fwbase::test::write_file;

namespace fwrun::test {
namespace {

std::string printing(const std::string& text) {
  return script_with("<section name=\"s\">" + print_call(text) + "</section>");
}

// Prints a global variable and what the section does with it: one more.
std::string counting(const std::string& before) {
  return script_with("<section name=\"s\">" + print_call(before) +
                         "<load_int><from>runs</from><ret>n</ret></load_int>"
                         "<add><a><ref>n</ref></a><b>1</b><ret>runs</ret></add>"
                         "<save_int><from>runs</from></save_int>"
                         "<int_to_string><value><ref>runs</ref></value><ret>t</ret></int_to_string>"
                         "<print><text><ref>t</ref></text></print></section>",
                     "<var name=\"runs\" type=\"int\" value=\"0\"/>");
}

class FwrunWatch : public testing::Test {
 protected:
  RunningProgram start(std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), {FWRUN_PROGRAM, "--watch", path()});
    return RunningProgram(std::move(arguments));
  }

  std::string path() const { return m_file.path(); }

  // As many editors do: at no moment there is anything but a whole file.
  void replace(const std::string& text) const {
    write_file(path() + ".new", text);
    std::filesystem::rename(path() + ".new", path());
  }

  // By one call, so that nobody sees a part.
  void write_into(std::size_t offset, const std::string& text) const {
    const int file = ::open(path().c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(::pwrite(file, text.data(), text.size(), static_cast<off_t>(offset)),
              static_cast<ssize_t>(text.size()));
    ::close(file);
  }

  std::string changed() const { return "fwrun: '" + path() + "' has changed\n"; }
  std::string waiting() const {
    return "fwrun: what was loaded before stays; waiting for the next change of '" + path() + "'\n";
  }

  // Whether it waits by then is not known.
  static int end(RunningProgram& program, int signal = SIGINT) {
    program.send(signal);
    return program.wait();
  }

  // The lines of a failure, up to the one that says that the watch goes on.
  std::string failure(RunningProgram& program) const {
    std::string lines;
    std::string line;
    while ((line = program.error_line()) != waiting() && !line.empty()) {
      lines += line;
    }
    EXPECT_EQ(line, waiting());
    return lines;
  }

 private:
  const ScriptFile m_file{printing("one")};
};

}  // namespace

TEST_F(FwrunWatch, RunsAgainWhenAnotherFileTakesThePlaceOfTheScript) {
  RunningProgram program = start();
  program.expect("one\n");
  replace(printing("two"));
  program.expect("two\n");
  program.expect_error(changed());
  replace(printing("three"));
  program.expect("three\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, RunsAgainWhenTheScriptIsWrittenInItsPlace) {
  RunningProgram program = start();
  program.expect("one\n");
  write_into(0, printing("two"));
  program.expect("two\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, AFileThatIsWrittenInStepsRunsWhenItIsWhole) {
  RunningProgram program = start();
  program.expect("one\n");
  const std::string text = printing("two");
  replace(text.substr(0, text.size() / 2));
  EXPECT_NE(failure(program).find("[malformed]\n"), std::string::npos);
  write_into(text.size() / 2, text.substr(text.size() / 2));
  program.expect("two\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, AScriptThatIsRemovedIsToldAndRunsWhenItIsMadeAnew) {
  RunningProgram program = start();
  program.expect("one\n");
  std::filesystem::remove(path());
  program.expect_error("fwrun: '" + path() + "' is not there any more; waiting for it\n");
  replace(printing("two"));
  program.expect("two\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, BehindALinkRunsWhenTheFileChangesThatItLeadsTo) {
  const fwbase::test::TempDir links;
  const std::string link = links.path("link.xml");
  std::filesystem::create_symlink(path(), link);
  RunningProgram program({FWRUN_PROGRAM, "--watch", link});
  program.expect("one\n");
  replace(printing("two"));
  program.expect("two\n");
  program.expect_error("fwrun: '" + link + "' has changed\n");
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, AFaultyFileIsToldWithItsFindingsAndTheNextGoodOneRuns) {
  RunningProgram program = start();
  program.expect("one\n");
  replace(script_with("<section name=\"s\"><print/><fly/></section>"));
  EXPECT_EQ(
      failure(program),
      changed() + "fwrun: cannot load '" + path() +
          "': SCRIPT_E_PARAMS_CHILD (0x00080018): a parameter tag occurs more than once, or a "
          "required one is missing\nfwrun:   节点[print->text]必须存在\n" +
          path() + ":31:55: error: \"print\" needs the argument \"text\" [missing-argument]\n" +
          path() + ":31:63: error: no \"Func\" declares \"fly\" [undeclared-function]\n" +
          kLogAdvice);
  replace(printing("two"));
  program.expect("two\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, VariablesKeepTheirValues) {
  replace(counting("one"));
  RunningProgram program = start({"--set", "runs=5"});
  program.expect("one\n6\n");
  replace(counting("two"));
  program.expect("two\n7\n");
  replace("<korvid/>");
  program.expect_error(changed());
  failure(program);
  replace(counting("three"));
  program.expect("three\n8\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, ACallThatFailsIsToldAndTheWatchGoesOn) {
  replace(script_with("<section name=\"s\">" + print_call("one") + kFailingCall + "</section>"));
  RunningProgram program = start();
  program.expect("one\n");
  EXPECT_EQ(program.error_line().rfind("fwrun: " + path() + ":31:", 0), 0u);
  EXPECT_EQ(program.error_line(), "fwrun:   expect_at_most: the value is 2, expected at most 1\n");
  EXPECT_EQ(program.error_line(), kLogAdvice);
  replace(printing("two"));
  program.expect("two\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, TheSectionsThatAreNamedRunIfTheFileHasThem) {
  RunningProgram program = start({"s"});
  program.expect("one\n");
  replace(script_with("<section name=\"t\">" + print_call("none") + "</section>"));
  program.expect_error(changed() + "fwrun: '" + path() + "' has no section 's'; it has: t\n");
  replace(
      script_with("<section name=\"t\"/><section name=\"s\">" + print_call("two") + "</section>"));
  program.expect("two\n");
  program.expect_error(changed());
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, CheckTellsWarningsOfEachFile) {
  RunningProgram program = start({"--check"});
  program.expect("one\n");
  replace(script_with("<section name=\"s\"><odd/>" + print_call("two") + "</section>"));
  EXPECT_EQ(failure(program), changed() + path() +
                                  ":31:55: error: no \"Func\" declares \"odd\" "
                                  "[undeclared-function]\n");
  replace(script_with("<section name=\"s\">" + print_call("two") + "</section><odd/>"));
  program.expect("two\n");
  program.expect_error(changed() + path() + ":31:");
  EXPECT_NE(program.error_line().find("[unknown-element]\n"), std::string::npos);
  EXPECT_EQ(end(program), 130);
}

TEST_F(FwrunWatch, AScriptThatDoesNotLoadAtTheStartIsStatus2) {
  replace("<korvid/>");
  const ProgramResult result = run_fwrun({"--watch", path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err.rfind("fwrun: cannot load '" + path() + "': SCRIPT_NO_PROCESS", 0), 0u);
}

TEST_F(FwrunWatch, ASignalWhileItWaitsEndsIt) {
  for (const int signal : {SIGINT, SIGTERM}) {
    replace(printing("one"));
    RunningProgram program = start();
    program.expect("one\n");
    replace("<korvid/>");
    failure(program);
    EXPECT_EQ(end(program, signal), 130) << signal;
    EXPECT_EQ(program.error_line(), "") << signal;
  }
}

// The calls print more than a pipe has room for, and nobody reads it.
TEST_F(FwrunWatch, ASignalWhileSectionsRunEndsItAtThatCall) {
  std::string calls;
  for (int i = 0; i < 2000; ++i) {
    calls += print_call(std::string(100, 'x'));
  }
  for (const int signal : {SIGINT, SIGTERM}) {
    replace(printing("one"));
    RunningProgram program = start();
    program.expect("one\n");
    replace(script_with("<section name=\"s\">" + calls + "</section>"));
    program.expect("xxx");
    EXPECT_EQ(end(program, signal), 130) << signal;
    program.expect_error(changed());
    const std::string line = program.error_line();
    EXPECT_EQ(without_places(line).rfind("fwrun: section 's', call ", 0), 0u) << line;
    EXPECT_TRUE(line.ends_with(", print: interrupted\n")) << line;
  }
}

TEST_F(FwrunWatch, EndsWhenNobodyReadsItsOutputAnyMore) {
  RunningProgram program = start();
  program.expect("one\n");
  program.close_out();
  EXPECT_EQ(program.wait(), 1);
  EXPECT_EQ(program.error_line(), "");
}

TEST_F(FwrunWatch, ReleasesModulesAndTheLogAtItsEnd) {
  const std::string log = path() + ".log";
  RunningProgram program = start({"--log", log, "--level", "all", "--queued"});
  program.expect("one\n");
  EXPECT_EQ(end(program, SIGTERM), 130);
  EXPECT_NE(read_file(log).find("log system release"), std::string::npos);
}

}  // namespace fwrun::test
