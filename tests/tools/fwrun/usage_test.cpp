#include <gtest/gtest.h>

#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {

TEST(FwrunUsage, HelpNamesEveryOptionAndStatus) {
  const ProgramResult result = run_fwrun({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  for (const char* const text : {"SCRIPT",
                                 "SECTION",
                                 "--module PATH[:FUNCTION][=ARGUMENT]",
                                 "--mock NAME",
                                 "--mock-missing",
                                 "--log FILE",
                                 "--level LIST",
                                 "--details LIST",
                                 "--queued",
                                 "--queue-bytes N",
                                 "--when-full wait|drop-new|drop-below",
                                 "--keep-level LIST",
                                 "--journal",
                                 "--log-bytes N",
                                 "--backups N",
                                 "--set NAME=VALUE",
                                 "--env NAME=VALUE",
                                 "--print",
                                 "--save",
                                 "--list",
                                 "--functions",
                                 "--check",
                                 "--watch",
                                 "-h,--help",
                                 "--version",
                                 "Exit status: 0"}) {
    EXPECT_NE(result.out.find(text), std::string::npos) << text;
  }
}

TEST(FwrunUsage, VersionIsTheProjects) {
  const ProgramResult result = run_fwrun({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "fwrun " FWRUN_VERSION "\n");
}

TEST(FwrunUsage, WrongUsageIsStatus2AndPointsToHelp) {
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } kCases[] = {
      {{}, "SCRIPT is required"},
      {{"--foo", "s.xml"}, "The following argument was not expected: --foo"},
      {{"s.xml", "--log", "l", "--level", "warn,info"},
       "--level: 'info' is not one of alert, all, debug, dump, error, trace, warn"},
      {{"s.xml", "--log", "l", "--details", "pid,date"},
       "--details: 'date' is not one of pid, tid, time"},
      {{"s.xml", "--queued", "--queue-bytes", "0"}, "--queue-bytes: '0' is not a number from 1 on"},
      {{"s.xml", "--log-bytes", "10M"}, "--log-bytes: '10M' is not a number from 1 on"},
      {{"s.xml", "--backups=-1"}, "--backups: '-1' is not a number from 0 on"},
      {{"s.xml", "--queued", "--when-full", "drop"},
       "--when-full: 'drop' is not one of wait, drop-new, drop-below"},
      {{"s.xml", "--journal"}, "--journal: needs --queued"},
      {{"s.xml", "--list", "section"}, "SECTION: does not go with --list, which runs nothing"},
      {{"s.xml", "--list", "--module", "m"},
       "--module: does not go with --list, which runs nothing"},
      {{"s.xml", "--list", "--mock", "f"}, "--mock: does not go with --list, which runs nothing"},
      {{"s.xml", "--list", "--mock-missing"},
       "--mock-missing: does not go with --list, which runs nothing"},
      {{"s.xml", "--module", ""}, "--module: '' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{"s.xml", "--module", "=x"}, "--module: '=x' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{"s.xml", "--module", ":create"}, "--module: ':create' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{"s.xml", "--module", "m:"}, "--module: 'm:' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{"s.xml", "--module", "./m.so:=x"},
       "--module: './m.so:=x' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{"s.xml", "--list", "--log", "l"}, "--log: does not go with --list, which runs nothing"},
      {{"s.xml", "--list", "--set", "a=1"}, "--set: does not go with --list, which runs nothing"},
      {{"s.xml", "--list", "--env", "a=1"}, "--env: does not go with --list, which runs nothing"},
      {{"s.xml", "--list", "--print"}, "--print: does not go with --list, which runs nothing"},
      {{"s.xml", "--list", "--save"}, "--save: does not go with --list, which runs nothing"},
      {{"s.xml", "--watch", "--list"},
       "--list: does not go with --watch, which ends with an interruption only"},
      {{"--watch", "--functions"},
       "--functions: does not go with --watch, which ends with an interruption only"},
      {{"s.xml", "--watch", "--print"},
       "--print: does not go with --watch, which ends with an interruption only"},
      {{"s.xml", "--watch", "--save"},
       "--save: does not go with --watch, which ends with an interruption only"},
      {{"--watch"}, "SCRIPT is required"},
      {{"-", "--watch"}, "--watch: standard input does not change"},
      {{"s.xml", "--set", "a"}, "--set: 'a' is not NAME=VALUE"},
      {{"s.xml", "--env", "=1"}, "--env: '=1' is not NAME=VALUE"},
      {{"s.xml", "--set", ":int=1"}, "--set: ':int=1' is not NAME=VALUE"},
      {{"s.xml", "--set", "a:long=1"}, "--set: 'long' is not a type: NAME:int or NAME:string"},
      {{"s.xml", "--set", "a:=1"}, "--set: '' is not a type: NAME:int or NAME:string"},
      {{"s.xml", "--set", "a:int=x"}, "--set: 'x', the value of a, is not an int"},
      {{"s.xml", "--set", "a:int="}, "--set: '', the value of a, is not an int"},
      {{"s.xml", "--env", "a=2147483648"},
       "--env: the value of a does not fit in 32 bits; write a:string=2147483648 for a string"},
  };
  for (const auto& one : kCases) {
    SCOPED_TRACE(one.message);
    const ProgramResult result = run_fwrun(one.arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              std::string("fwrun: ") + one.message + "\nfwrun: fwrun --help shows the options\n");
  }
}

TEST(FwrunUsage, OptionsMayStandAnywhere) {
  const ScriptFile script(script_with("<section name=\"a\">" + print_call("ran a") +
                                      "</section><section name=\"b\">" + print_call("ran b") +
                                      "</section>"));
  const ProgramResult result =
      run_fwrun({"--set", "x=1", script.path(), "--env", "y=1", "b", "--set=z=1", "a"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "ran b\nran a\n");
}

TEST(FwrunUsage, ListsTheFunctionsOfTheModules) {
  const ProgramResult result = run_fwrun({"--functions"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out.rfind("  add(a: int, b: int)  Adds two numbers.\n", 0), 0U) << result.out;
  EXPECT_NE(result.out.find("  field(text: string, number: int, separator: string = \"\")"),
            std::string::npos)
      << result.out;
  const ProgramResult more =
      run_fwrun({"--functions", "--module", FWRUN_TEST_MODULES "/libbrings_functions.so"});
  EXPECT_NE(more.out.find("  greet(arg1: string, arg2: int)\n"), std::string::npos) << more.out;
}

}  // namespace fwrun::test
