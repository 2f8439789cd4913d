#include <gtest/gtest.h>

#include "tests/tools/fwmod/fwmod_program.h"

namespace fwmod::test {

TEST(FwmodUsage, HelpNamesEveryOptionAndStatus) {
  const ProgramResult result = run_fwmod({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  for (const char* const text :
       {"PATH[:FUNCTION][=ARGUMENT]", "no sandbox against malice", "--exercise",
        "--timeout SECONDS", "--help", "--version",
        "Exit status: 0 sound; 1 faulty; 2 wrong usage, or the check cannot be made;\n"
        "3 sound, but the module left something behind: so does every module with script "
        "functions."}) {
    EXPECT_NE(result.out.find(text), std::string::npos) << text;
  }
}

TEST(FwmodUsage, VersionIsTheProjects) {
  const ProgramResult result = run_fwmod({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "fwmod " FWMOD_VERSION "\n");
}

TEST(FwmodUsage, WrongUsageIsStatus2AndPointsToHelp) {
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } kCases[] = {
      {{}, "PATH is required"},
      {{"--foo", "m.so"}, "The following argument was not expected: --foo"},
      {{"a.so", "b.so"}, "The following argument was not expected: b.so"},
      {{"a.so:"}, "PATH: 'a.so:' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{":create"}, "PATH: ':create' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{"=x"}, "PATH: '=x' is not PATH[:FUNCTION][=ARGUMENT]"},
      {{"a.so=x"}, "PATH: an ARGUMENT goes with --exercise only"},
      {{"--timeout", "0", "a.so"}, "--timeout: Value 0 not in range 1 to 86400"},
  };
  for (const auto& one : kCases) {
    SCOPED_TRACE(one.message);
    const ProgramResult result = run_fwmod(one.arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              std::string("fwmod: ") + one.message + "\nfwmod: fwmod --help shows the options\n");
  }
}

TEST(FwmodUsage, ControlCharactersAreEscaped) {
  const struct {
    std::vector<std::string> arguments;
    std::string out;
    std::string err;
  } kCases[] = {
      {{"./a\x1B[2J.so"}, "./a\\x1b[2J.so: no such file\n", ""},
      {{"a\u009B\n.so"},
       "a\\u009b\\n.so: no such file beside fwmod, among the installed modules or in the loader's "
       "search path; write ./a\\u009b\\n.so for one in the working directory\n",
       ""},
      {{fault("sound_module") + ":f\x9B"},
       fault("sound_module") + ": no creation function f\\x9b(); it exports create_module, "
                               "create_second\n",
       ""},
      {{"a\x07.so:"},
       "",
       "fwmod: PATH: 'a\\x07.so:' is not PATH[:FUNCTION][=ARGUMENT]\n"
       "fwmod: fwmod --help shows the options\n"},
  };
  for (const auto& one : kCases) {
    const ProgramResult result = run_fwmod(one.arguments);
    EXPECT_EQ(result.out, one.out);
    EXPECT_EQ(result.err, one.err);
  }
}

TEST(FwmodUsage, ResultThatCannotBeWrittenIsStatus2) {
  const struct {
    Stdout standard_output;
    const char* reason;
  } kCases[] = {{Stdout::kClosed, "Bad file descriptor"},
                {Stdout::kFullDevice, "No space left on device"},
                {Stdout::kBrokenPipe, "Broken pipe"}};
  for (const auto& one : kCases) {
    const ProgramResult result = run_fwmod({fault("sound_module")}, one.standard_output);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err,
              std::string("fwmod: cannot write to standard output: ") + one.reason + "\n");
  }
}

}  // namespace fwmod::test
