#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>

#include <regex>

#include "command_line/command.h"
#include "sections.h"
#include "tests/harness/host_function.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

namespace fwrun::test {
namespace {

std::string two_sections() {
  return script_with("<section name=\"bad\">" + print_call("one") + kFailingCall +
                     print_call("never") + "</section><section name=\"good\">" + print_call("two") +
                     "</section>");
}

// Of which a run takes long enough for what a test does meanwhile, if the section is run often.
std::string long_section(const std::string& name) {
  std::string calls;
  for (int i = 0; i < 5000; ++i) {
    calls += print_call("x");
  }
  return "<section name=\"" + name + "\">" + calls + "</section>";
}

// At a call of the section, or between two runs of it.
bool tells_of_interruption(const std::string& text) {
  static const std::regex told(
      "fwrun: (script\\.xml:31:[0-9]+: section 's', call [0-9]+, print|section 's'): "
      "interrupted\\r?\n");
  return std::regex_search(text, told);
}

}  // namespace

TEST(FwrunCalls, RunTheOnlySectionWithoutSection) {
  const fwbase::test::ScriptFile script(
      script_with("<section name=\"s\">" + print_call("负载") + "</section>"));
  const ProgramResult result = run_fwrun({script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "负载\n");
  EXPECT_EQ(result.err, "");
}

TEST(FwrunCalls, SectionsRunInTheOrderGivenAndInOneEnvironment) {
  const fwbase::test::ScriptFile script(
      script_with("<section name=\"show\"><print><text><ref>x</ref></text></print></section>"
                  "<section name=\"set\"><set_string><value>shared</value><ret>x</ret></set_string>"
                  "</section>"));
  const ProgramResult result = run_fwrun({script.path(), "set", "show", "show"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "shared\nshared\n");
  EXPECT_EQ(result.err, "");
}

TEST(FwrunCalls, AFailureIsNamedAndEndsTheRun) {
  const fwbase::test::ScriptFile script(two_sections());
  const ProgramResult result = run_fwrun({script.path(), "good", "bad", "good"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "two\none\n");
  EXPECT_EQ(without_places(result.err),
            std::string("fwrun: section 'bad', call 2, ") + kFailureText + kLogAdvice);
}

TEST(FwrunCalls, AFailureNamesTheLogWhenThereIsOne) {
  const fwbase::test::ScriptFile script(two_sections());
  const std::string log = script.directory() + "/run.log";
  const ProgramResult result = run_fwrun({script.path(), "bad", "--log", log, "--level", "warn"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(without_places(result.err), std::string("fwrun: section 'bad', call 2, ") +
                                            kFailureText + "fwrun: the records of the run are in " +
                                            log + " (fwlog shows it)\n");
}

TEST(FwrunCalls, CountTheCallsThatOneElementHolds) {
  const fwbase::test::ScriptFile script(script_with(
      "<section name=\"s\"><expect_at_most>"
      "<params><actual>1</actual><limit>1</limit></params>"
      "<params><actual>2</actual><limit>1</limit></params></expect_at_most></section>"));
  const ProgramResult result = run_fwrun({script.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(without_places(result.err),
            std::string("fwrun: section 's', call 2, ") + kFailureText + kLogAdvice);
}

TEST(FwrunCalls, AnUnknownSectionListsTheKnownOnesAndRunsNothing) {
  const fwbase::test::ScriptFile script(two_sections());
  const ProgramResult result = run_fwrun({script.path(), "good", "检查"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, std::string("fwrun: '") + script.path() +
                            "' has no section '检查'; it has: bad, good\n");
}

TEST(FwrunCalls, WarnOfAnArgumentThatRefersToNoVariable) {
  const fwbase::test::ScriptFile script(
      script_with("<section name=\"s\"><set_int><value>1</value><ret>a</ret></set_int>"
                  "<add><a><ref>a</ref></a><b><ref>变量</ref></b><ret>r</ret></add></section>"));
  const ProgramResult result = run_fwrun({script.path(), "--print"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "fwrun: warning: section 's', call 2, add: 没有对应的变量,name[变量]\n");
  EXPECT_NE(result.out.find("  r: int = 1\n"), std::string::npos) << result.out;
}

TEST(FwrunCalls, AnErrorThatACallGotOverIsNotPartOfALaterFailure) {
  const fwbase::test::ScriptFile script(
      script_with("<section name=\"s\"><log><level>error</level><text>over</text></log>" +
                  std::string(kFailingCall) + "</section>"));
  const ProgramResult result = run_fwrun({script.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(without_places(result.err),
            std::string("fwrun: section 's', call 2, ") + kFailureText + kLogAdvice);
}

// The engine forgets its functions when it is initialised again, but not their signatures.
TEST(FwrunCalls, NameAFunctionThatTheEngineDoesNotHave) {
  fwbase::IFWBase* const facade = fwbase::IFWBase::instance();
  ASSERT_TRUE(ec::succeeded(facade->init()));
  const fwbase::test::ScriptFile file(
      script_with("<section name=\"s\"><set_int><value>1</value></set_int>"
                  "<add><a>1</a><b>2</b></add></section>"));
  fwbase::test::HostFunction set_int("set_int", {fwbase::IScript::VT_INT});
  fwbase::test::HostFunction add("add", {fwbase::IScript::VT_INT, fwbase::IScript::VT_INT});
  tools::ErrorLog errors;
  CallWatch watch(errors);
  ASSERT_TRUE(facade->script()->expand_syntax(&add));
  ASSERT_TRUE(ec::succeeded(facade->script()->init()));
  ASSERT_TRUE(facade->script()->expand_syntax(&set_int));
  ASSERT_TRUE(ec::succeeded(facade->script()->load_script(file.path())));
  fwrun::ScriptFile script;
  std::string why;
  ASSERT_TRUE(read_script_file(file.path(), script, why)) << why;

  testing::internal::CaptureStderr();
  const auto run = [&] {
    return run_sections({"s"}, {"s.xml", script, watch, errors, nullptr}) ? 0 : 1;
  };
  EXPECT_EQ(tools::run_command("fwrun", 2, run), 1);
  EXPECT_EQ(without_places(testing::internal::GetCapturedStderr()),
            "fwrun: section 's', call 2, add: SCRIPT_NO_FUNC (0x0008000d): call of a script "
            "function for which no syntax extension exists\n"
            "fwrun:   不存在的脚本函数:(add)\n");
  facade->release();
}

TEST(FwrunCalls, WatchTheEngineOnlyWhileTheWatchLives) {
  fwbase::IFWBase* const facade = fwbase::IFWBase::instance();
  ASSERT_TRUE(ec::succeeded(facade->init()));
  fwbase::IScript* const engine = facade->script();
  {
    tools::ErrorLog errors;
    CallWatch watch(errors);
    EXPECT_EQ(facade->script(), &watch);
    EXPECT_FALSE(watch.expand_syntax(nullptr));
    EXPECT_EQ(errors.take_errors().size(), 1U);
    EXPECT_EQ(watch.find("f"), nullptr);
    fwbase::test::HostFunction first("f");
    fwbase::test::HostFunction second("f", {fwbase::IScript::VT_INT});
    EXPECT_TRUE(watch.expand_syntax(&first));
    EXPECT_TRUE(watch.expand_syntax(&second));
    ASSERT_NE(watch.find("f"), nullptr);
    EXPECT_EQ(watch.find("f")->param_count(), 1);
  }
  EXPECT_EQ(facade->script(), engine);
  facade->release();
}

TEST(FwrunCalls, AReleasedFacadeStaysReleasedWhenTheWatchEnds) {
  fwbase::IFWBase* const facade = fwbase::IFWBase::instance();
  ASSERT_TRUE(ec::succeeded(facade->init()));
  {
    tools::ErrorLog errors;
    CallWatch watch(errors);
    facade->release();
  }
  EXPECT_EQ(facade->script(), nullptr);
  EXPECT_EQ(facade->runlog(), nullptr);
}

TEST(FwrunCalls, AFailureIsToldWithItsPlace) {
  const fwbase::test::ScriptFile script(script_with("\n<section name=\"s\">\n  " + print_call("x") +
                                                    "\n  " + kFailingCall + "</section>"));
  const ProgramResult result = run_fwrun({script.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("fwrun: " + std::string(script.path()) +
                                 ":34:3: section 's', call 2, expect_at_most: SCRIPT_BAD_PARAM",
                             0),
            0U)
      << result.err;
}

TEST(FwrunCalls, ARefToAVariableOfDataIsExplained) {
  const fwbase::test::ScriptFile script(
      script_with("<section name=\"s\"><add><a><ref>runs</ref></a><b>1</b></add></section>",
                  "<var name=\"runs\" type=\"int\" value=\"3\"/>"));
  const ProgramResult result = run_fwrun({script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.err.find("fwrun:   a ref reads the environment, where there is no 'runs'; "
                            "load_int reads the global variable of that name\n"),
            std::string::npos)
      << result.err;
}

TEST(FwrunCalls, MessagesAreChineseForAChineseUser) {
  const fwbase::test::ScriptFile script(two_sections());
  const ProgramResult result = fwbase::test::run_program(
      {"/bin/sh", "-c", "LC_ALL=zh_CN.UTF-8 \"$0\" \"$1\"", FWRUN_PROGRAM, script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            std::string("fwrun: “") + script.path() + "”有多个节；请指明要运行的：bad, good\n");
}

// The run is long, so that it is interrupted on the way, as soon as the first line is out.
TEST(FwrunCalls, AnInterruptionIsToldWithItsPlaceAndStatus130) {
  const fwbase::test::ScriptFile script(script_with(long_section("s")));
  const ProgramResult result = fwbase::test::run_program(
      {"/bin/bash", "-c",
       "cd \"$1\"; sections=(); for ((i = 0; i < 2000; ++i)); do sections+=(s); done\n"
       "env --default-signal=INT \"$0\" --print --log run.log script.xml \"${sections[@]}\" "
       ">out & until [ -s out ]; do :; done; kill -INT $!; wait $!",
       FWRUN_PROGRAM, script.directory()});
  EXPECT_EQ(result.status, 130);
  EXPECT_TRUE(tells_of_interruption(result.err)) << result.err;
  EXPECT_NE(read_file(script.directory() + "/out").find("global variables:\n"), std::string::npos);
  EXPECT_NE(read_file(script.directory() + "/run.log").find("log system release"),
            std::string::npos);
}

TEST(FwrunCalls, ALongRunOnATerminalShowsHowFarItIsUntilCtrlC) {
  const fwbase::test::ScriptFile script(script_with(long_section("s")));
  const ProgramResult result = fwbase::test::run_program(
      {"/bin/bash", "-c",
       "cd \"$1\"; sections=(); for ((i = 0; i < 2000; ++i)); do sections+=(s); done\n"
       "mkfifo keys; exec 3<>keys; : >seen\n"
       "env --default-signal=INT LC_ALL=C script -qefc "
       "\"'$0' script.xml ${sections[*]} >printed\" seen <keys >screen 2>&1 &\n"
       "until grep -q 'call [0-9]* of 5000, print' seen || [ ! -e /proc/$! ]; do :; done\n"
       "printf '\\003' >&3; wait $!",
       FWRUN_PROGRAM, script.directory()});
  const std::string seen = read_file(script.directory() + "/seen");
  EXPECT_EQ(result.status, 130);
  EXPECT_NE(seen.find("\r\x1b[Kfwrun: section 's', call "), std::string::npos);
  EXPECT_TRUE(tells_of_interruption(seen)) << seen;
  EXPECT_EQ(read_file(script.directory() + "/printed").find("call"), std::string::npos);
}

}  // namespace fwrun::test
