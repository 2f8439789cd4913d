#include <gtest/gtest.h>

#include <filesystem>

#include "command_line/result_code.h"
#include "tests/harness/matching.h"
#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::has_match;
using fwbase::test::ScriptFile;
using fwbase::test::TempDir;
using tools::described;

namespace fwrun::test {
namespace {

namespace fs = std::filesystem;

constexpr char kFunctions[] = FWRUN_TEST_MODULES "/libbrings_functions.so";
constexpr char kArguments[] = FWRUN_TEST_MODULES "/libshows_argument.so";
constexpr char kReleases[] = FWRUN_TEST_MODULES "/librelease_throws.so";
constexpr char kInitFails[] = TEST_MODULES "/init_fails.so";

const std::string kTroubles = std::string(kFunctions) + ":create_troubles";
const std::string kTroublesWarning = "fwrun: warning: module '" + kTroubles + "': troubles ahead\n";

/// The functions of the module libraries, declared.
std::string script_of_modules(const std::string& exec) {
  return "<korvid><template>"
         "<Func name=\"print\"><param tag=\"text\" type=\"string\"/></Func>"
         "<Func name=\"greet\"><param tag=\"who\" type=\"string\"/>"
         "<param tag=\"times\" type=\"int\" must=\"false\" defaultval=\"1\"/></Func>"
         "<Func name=\"refuse\"/>"
         "<Func name=\"blow_up\"><param tag=\"how\" type=\"string\"/></Func>"
         "<Func name=\"run\"><param tag=\"section\" type=\"string\"/></Func>"
         "</template><Process name=\"\"><Exec>" +
         exec + "</Exec></Process></korvid>";
}

const std::string kGreet = "<greet><who>world</who></greet>";

void expect_not_created(const std::vector<std::string>& options, const std::string& message) {
  const ScriptFile script(script_with("<section name=\"s\">" + print_call("never") + "</section>"));
  std::vector<std::string> arguments = options;
  arguments.push_back(script.path());
  const ProgramResult result = run_fwrun(arguments);
  SCOPED_TRACE(options.back());
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "fwrun: cannot create module '" + message);
}

ProgramResult run_in(const std::string& directory, const std::string& program,
                     const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"/bin/sh", "-c", "cd \"$0\" && exec \"$@\"", directory, program};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return fwbase::test::run_program(all);
}

}  // namespace

TEST(FwrunModules, BringTheFunctionsOfAScript) {
  const ScriptFile script(script_of_modules("<section name=\"s\">" + kGreet + "</section>"));
  const ProgramResult result = run_fwrun({"--module", kFunctions, script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "Hello, world\n");
  EXPECT_EQ(result.err, "");
}

TEST(FwrunModules, GetTheirArgumentInTheirOrderAndAreReleased) {
  const ScriptFile script(script_with("<section name=\"s\">" + print_call("run") + "</section>"));
  const std::string path = kArguments;
  const ProgramResult result =
      run_fwrun({"--module", path, "--module=" + path + ":create_second=", script.path(),
                 "--module", path + "=a=b:c d/值", "--module", path + ":create_second=:x"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const std::string inits = "first: null\nsecond: ''\nfirst: 'a=b:c d/值'\nsecond: ':x'\nrun\n";
  ASSERT_EQ(result.out.rfind(inits, 0), 0U) << result.out;
  // The manager releases modules by address.
  EXPECT_TRUE(has_match(result.out.substr(inits.size()), "^((first|second) is released\n){4}$"))
      << result.out;
}

TEST(FwrunModules, AreReleasedAfterAFailureToo) {
  const ScriptFile script(
      script_with("<section name=\"s\">" + std::string(kFailingCall) + "</section>"));
  const ScriptFile broken("<korvid>");
  const std::string module = kArguments;
  EXPECT_EQ(run_fwrun({"--module", module, script.path()}).out, "first: null\nfirst is released\n");
  EXPECT_EQ(run_fwrun({"--module", module, broken.path()}).out, "first: null\nfirst is released\n");
  const ProgramResult result =
      run_fwrun({"--module", module, "--module", kInitFails, script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "first: null\nfirst is released\n");
}

TEST(FwrunModules, AreNamedByTheLastColonOfTheFileName) {
  const ScriptFile script(script_with("<section name=\"s\"/>"));
  const TempDir place;
  const std::string directory = place.path("a:b");
  fs::create_directory(directory);
  fs::copy_file(kArguments, directory + "/plain.so");
  fs::copy_file(kArguments, directory + "/with:colon.so");
  for (const std::string& module : {directory + "/plain.so", directory + "/plain.so:create_module",
                                    directory + "/with:colon.so:create_module"}) {
    const ProgramResult result = run_fwrun({"--module", module, script.path()});
    EXPECT_EQ(result.out, "first: null\nfirst is released\n") << module << result.err;
  }
  const ProgramResult result = run_fwrun({"--module", directory + "/with:colon.so", script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err.rfind("fwrun: cannot create module '" + directory + "/with:colon.so'", 0),
            0U)
      << result.err;
}

TEST(FwrunModules, MayReplaceFunctionsAndNameFwstdAgain) {
  const ScriptFile script(script_with("<section name=\"s\">" + print_call("once") + "</section>"));
  const ProgramResult result =
      run_fwrun({"--module", "fwstd", "--module", FWSTD_LIBRARY, script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "once\n");
  EXPECT_EQ(result.err, "");
}

TEST(FwrunModules, AreFoundBesideTheProgramFromAnywhere) {
  const ScriptFile script(script_with("<section name=\"s\">" + print_call("ran") + "</section>"));
  const TempDir place;
  EXPECT_EQ(run_in("/", FWRUN_PROGRAM, {script.path()}).out, "ran\n");
  fs::create_symlink(FWRUN_PROGRAM, place.path("link"));
  EXPECT_EQ(run_in(place.path(), "./link", {script.path()}).out, "ran\n");

  const std::string program = place.path("fwrun");
  fs::copy_file(FWRUN_PROGRAM, program);
  fs::copy_file(FWSTD_LIBRARY, place.path("libfwstd.so"));
  fs::copy_file(kArguments, place.path("arguments.so"));
  const ProgramResult result = run_in("/", program, {"--module", "arguments=x", script.path()});
  EXPECT_EQ(result.out, "first: 'x'\nran\nfirst is released\n") << result.err;
}

TEST(FwrunModules, NothingRunsWithoutFwstd) {
  const ScriptFile script(script_with("<section name=\"s\">" + print_call("never") + "</section>"));
  const TempDir place;
  const std::string program = place.path("fwrun");
  fs::copy_file(FWRUN_PROGRAM, program);
  const ProgramResult result = run_in("/", program, {script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.rfind("fwrun: cannot create module 'fwstd:create_module': MM_BAD_PARAM "
                             "(0x00040001): ",
                             0),
            0U)
      << result.err;
  EXPECT_NE(result.err.find("libfwstd.so: cannot open shared object file"), std::string::npos)
      << result.err;
}

TEST(FwrunModules, ThatCannotBeLoadedAreReportedWithTheLoadersReason) {
  const std::string bad_param = ":create_module': " + described(ec::MM_BAD_PARAM) + "\n";
  const auto no_function = [](const std::string& reason, const std::string& path,
                              const std::string& function) {
    return "fwrun:   获取导出函数失败: error=" + reason +
           "\nfwrun:   创建模块的导出函数为NULL. path=" + path + ", fname=" + function + "\n" +
           kLogAdvice;
  };
  const TempDir place;
  const std::string missing = place.path("none.so");
  expect_not_created(
      {"--module", missing},
      missing + bad_param +
          no_function(missing + ": cannot open shared object file: No such file or directory",
                      missing, "create_module"));
  const std::string undefined = TEST_MODULES "/lacks_symbol.so";
  expect_not_created({"--module", undefined},
                     undefined + bad_param +
                         no_function(undefined + ": undefined symbol: variable_that_nobody_has",
                                     undefined, "create_module"));
  const std::string no_entry = TEST_MODULES "/no_entry.so";
  expect_not_created(
      {"--module", no_entry},
      no_entry + bad_param +
          no_function(no_entry + ": undefined symbol: create_module", no_entry, "create_module"));
  const std::string function = std::string(kArguments) + ":create_third";
  expect_not_created({"--module", function},
                     function + "': " + described(ec::MM_BAD_PARAM) + "\n" +
                         no_function(std::string(kArguments) + ": undefined symbol: create_third",
                                     kArguments, "create_third"));
}

TEST(FwrunModules, ThatDoNotComeIntoServiceAreReportedWithTheirCode) {
  const std::string gives_null = TEST_MODULES "/gives_null.so";
  expect_not_created({"--module", gives_null},
                     gives_null + ":create_module': " + described(ec::MM_INIT_FAILED) +
                         "\nfwrun:   无法通过模块导出函数返回模块的实例. path=" + gives_null +
                         ", fname=create_module\n" + kLogAdvice);
  expect_not_created({"--module", kInitFails}, std::string(kInitFails) +
                                                   ":create_module': " + described(0x00abcdef) +
                                                   "\nfwrun:   模块初始化失败. path=" + kInitFails +
                                                   ", fname=create_module\n" + kLogAdvice);
}

TEST(FwrunModules, ThatThrowAreReportedWithWhatTheyThrow) {
  const std::string init_throws = TEST_MODULES "/init_throws.so";
  expect_not_created(
      {"--module", init_throws},
      init_throws + ":create_module': an exception: init of a library's module\n" + kLogAdvice);
  const std::string number = std::string(kReleases) + ":create_throwing_number";
  expect_not_created({"--module", number},
                     number + "': an exception of unknown type\n" + kLogAdvice);
  const std::string constructor = std::string(kReleases) + ":create_throwing";
  expect_not_created({"--module", constructor},
                     constructor + "': an exception: it will not begin\n" + kLogAdvice);
}

TEST(FwrunModules, ThatThrowAsTheyEndDoNotKeepOthersFromEnding) {
  const ScriptFile script(script_with("<section name=\"s\"/>"));
  const ProgramResult result = run_fwrun(
      {"--module", kReleases, "--module", kArguments, "--module", kReleases, script.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "fwrun: a module could not be released: an exception: it will not end\n"
            "fwrun: a module could not be released: an exception: it will not end\n");
  EXPECT_NE(result.out.find("first is released\n"), std::string::npos) << result.out;
}

TEST(FwrunModules, ThatFailToBeginAndToEndAreReportedWithBoth) {
  const ScriptFile script(script_with("<section name=\"s\"/>"));
  const std::string module = std::string(kReleases) + ":create_failing";
  const ProgramResult result = run_fwrun({"--module", module, script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "release is called\n");
  EXPECT_NE(result.err.find("fwrun: module '" + module +
                            "' could not be released: an exception: it will not end\n"),
            std::string::npos)
      << result.err;
}

TEST(FwrunModules, AnErrorThatTheyLogAsTheyBeginIsAWarning) {
  const ScriptFile script(script_of_modules("<section name=\"s\"/>"));
  const ProgramResult result = run_fwrun({"--module", kTroubles, script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, kTroublesWarning);
}

TEST(FwrunModules, TheirFunctionsAreWatched) {
  const ScriptFile script(script_of_modules("<section name=\"s\">" + print_call("one") + kGreet +
                                            "<refuse/></section>"));
  const ProgramResult result =
      run_fwrun({"--module", kTroubles, "--module", kFunctions, script.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "one\nHello, world\n");
  EXPECT_EQ(without_places(result.err), kTroublesWarning + "fwrun: section 's', call 3, refuse: " +
                                            described(ec::SCRIPT_NOT_FOUND) +
                                            "\nfwrun:   refuse: not today\n" + kLogAdvice);
}

TEST(FwrunModules, ASignatureOfTheirsThatTheScriptGetsWrongIsShown) {
  const ScriptFile script(
      "<korvid><template><Func name=\"greet\"><param tag=\"who\" type=\"string\"/></Func>"
      "</template><Process name=\"\"><Exec><section name=\"s\"><greet><who>x</who></greet>"
      "</section></Exec></Process></korvid>");
  const ProgramResult result = run_fwrun({"--module", kFunctions, script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(
      result.err.find("fwrun:   section 's' calls 'greet', whose Func declares (string) where "
                      "(string, int) is needed\n"),
      std::string::npos)
      << result.err;
}

TEST(FwrunModules, AnExceptionOfAFunctionIsAFailureOfItsCall) {
  const struct {
    const char* how;
    const char* shown;
  } kCases[] = {{"out of luck", "an exception: out of luck"},
                {"number", "an exception of unknown type"}};
  for (const auto& one : kCases) {
    const ScriptFile script(script_of_modules("<section name=\"s\">" + kGreet + "<blow_up><how>" +
                                              one.how + "</how></blow_up>" + kGreet +
                                              "</section>"));
    const ProgramResult result =
        run_fwrun({"--module", kTroubles, "--module", kFunctions, script.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "Hello, world\n");
    EXPECT_EQ(
        without_places(result.err),
        kTroublesWarning + "fwrun: section 's', call 2, blow_up: " + one.shown + "\n" + kLogAdvice);
  }
}

// The sanitizers do not follow the unwinding of a thread that ends.
#ifndef __SANITIZE_ADDRESS__
TEST(FwrunModules, AFunctionThatEndsTheThreadIsAFailure) {
  const ScriptFile script(script_of_modules("<section name=\"s\">" + kGreet +
                                            "<blow_up><how>thread</how></blow_up></section>"));
  const ProgramResult result =
      run_fwrun({"--module", kTroubles, "--module", kFunctions, script.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "Hello, world\n");
  EXPECT_EQ(result.err, kTroublesWarning +
                            "fwrun: a module or a function ended the thread of the program, as "
                            "pthread_exit() does\n");
}
#endif

TEST(FwrunModules, CallsOfASectionThatAFunctionRunsAreNotCounted) {
  const ScriptFile script(
      script_of_modules("<section name=\"inner\">" + kGreet + kGreet +
                        "</section>"
                        "<section name=\"failing\">" +
                        kGreet + kGreet +
                        "<refuse/></section>"
                        "<section name=\"outer\"><run><params><section>inner</section></params>"
                        "<params><section>failing</section></params></run></section>"));
  const ProgramResult result =
      run_fwrun({"--module", kTroubles, "--module", kFunctions, script.path(), "outer"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "Hello, world\nHello, world\nHello, world\nHello, world\n");
  EXPECT_EQ(without_places(result.err), kTroublesWarning + "fwrun: section 'outer', call 2, run: " +
                                            described(ec::SCRIPT_NOT_FOUND) +
                                            "\nfwrun:   refuse: not today\n" + kLogAdvice);
}

}  // namespace fwrun::test
