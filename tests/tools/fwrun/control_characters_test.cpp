// Control characters in what a script or the command line names, which a terminal would act on.
#include <gtest/gtest.h>

#include "command_line/text.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

// XML 1.1 admits all of them in values, C0 and C1 alike.
std::string script_text(const std::string& type = "string") {
  return R"(<?xml version="1.1" encoding="UTF-8"?>
<korvid>
  <template>
    <Func name="f"><param tag="a" type="string"/><param tag="n" type="int"/></Func>
    <Func name="f&#x1b;[2J"><param tag="a&#x9b;31m" type=")" +
         type + R"(" must="false" defaultval="&#8;"/></Func>
  </template>
  <Process name="">
    <Data>
      <var name="v&#x9b;31m" type="int" value="1"/>
      <var name="w&#10;sections:" type="string" value="&#x1b;]0;title&#7;"/>
    </Data>
    <Exec>
      <section name="s&#x1b;[2J">
        <f><a><ref>r&#x1b;c</ref></a><n>1&#x9b;</n><ret>q&#x85;p</ret></f>
      </section>
      <section name="t\x1b"/>
    </Exec>
  </Process>
  <Process name="p&#x90;"/>
</korvid>)";
}

constexpr char kListing[] = R"(sections:
  "s\x1b[2J"
    f(a=$"r\x1bc", n=1\u009b) -> "q\u0085p"
  "t\\x1b"
functions:
  f(a: string, n: int)
  "f\x1b[2J"("a\u009b31m": "i\x07nt" = "\x08")
variables:
  "v\u009b31m": int = 1
  "w\nsections:": string = "\x1b]0;title\x07"
passed over, since only a Process without a name is read:
  Process "p\u0090"
)";

ProgramResult run_script(const ScriptFile& script, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), script.path());
  const ProgramResult result = run_fwrun(arguments);
  EXPECT_EQ(result.out, tools::escaped(result.out, "\n"));
  EXPECT_EQ(result.err, tools::escaped(result.err, "\n"));
  return result;
}

void expect_message(const std::vector<std::string>& arguments, const std::string& message) {
  const ScriptFile script(script_text());
  const ProgramResult result = run_script(script, arguments);
  EXPECT_NE(result.err.find(message), std::string::npos) << result.err;
}

}  // namespace

TEST(FwrunControlCharacters, AreEscapedInTheListing) {
  const ScriptFile script(script_text("i&#7;nt"));
  EXPECT_EQ(run_script(script, {"--list"}).out, kListing);
}

TEST(FwrunControlCharacters, AreEscapedInVariablesAndInCallsOfMocks) {
  const ScriptFile script(script_text());
  const ProgramResult result = run_script(script, {"--mock", "f", "--env",
                                                   "r\x1b"
                                                   "c=\x1b[2J",
                                                   "--print", "s\x1b[2J"});
  EXPECT_EQ(result.out,
            "f(a=\"\\x1b[2J\", n=1) -> \"q\\u0085p\"\n"
            "global variables:\n"
            "  \"v\\u009b31m\": int = 1\n"
            "  \"w\\nsections:\": string = \"\\x1b]0;title\\x07\"\n"
            "variables of the environment:\n"
            "  \"r\\x1bc\": string = \"\\x1b[2J\"\n");
}

TEST(FwrunControlCharacters, AreEscapedInMessages) {
  expect_message({"--mock", "f", "no\u009b31m"},
                 "has no section 'no\\u009b31m'; it has: s\\x1b[2J, t\\x1b\n");
  expect_message({"--mock", "g"}, "it declares: f, f\\x1b[2J\n");
  expect_message({"s\x1b[2J"}, "section 's\\x1b[2J' calls 'f', which no module provides");
  expect_message({"--mock", "f", "--env", "x=1", "s\x1b[2J"},
                 "warning: section 's\\x1b[2J', call 1, f: 没有对应的变量,name[r\\x1bc]\n");
  expect_message({"--set", "\x07"}, "--set: '\\x07' is not NAME=VALUE\n");
  expect_message({"--log", "missing\x1b/run.log"},
                 "cannot open the log file 'missing\\x1b/run.log'");
  expect_message({"--module", "./missing\x9B.so"}, "'./missing\\x9b.so:create_module'");
  EXPECT_EQ(run_fwrun({"missing\x1b[2J.xml", "--list"}).err,
            "fwrun: cannot list 'missing\\x1b[2J.xml': No such file or directory\n");
}

TEST(FwrunControlCharacters, AreEscapedInWhatWasLogged) {
  const ScriptFile script(
      script_with("<section name=\"s\"><expect_equal_string><actual><ref>x</ref></actual>"
                  "<expected>a</expected></expect_equal_string></section>"));
  const ProgramResult result = run_script(script, {"--env", "x=\x1B[2J\nb"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("the value is '\\x1b[2J\\nb', expected 'a'\n"), std::string::npos)
      << result.err;
}

}  // namespace fwrun::test
