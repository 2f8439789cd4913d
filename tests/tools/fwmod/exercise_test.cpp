// What goes wrong while a module is created, initialised and released.
#include <gtest/gtest.h>

#include "tests/harness/matching.h"
#include "tests/tools/fwmod/fwmod_program.h"

using fwbase::test::has_match;

namespace fwmod::test {
namespace {

constexpr char kCrash[] = ": SIGSEGV (Segmentation fault)";
constexpr char kSoundModule[] = "ok: module created, initialised and released; nothing left behind";

std::string logged(const std::string& message) { return "\n  logged: \"" + message + "\""; }

// What the module manager logs.
std::string logged_by_manager(const std::string& message, const std::string& name,
                              const std::string& function = "create_module") {
  return logged(message + " path=" + fault(name) + ", fname=" + function);
}

}  // namespace

TEST(FwmodExercise, SoundModule) { expect_exercise(0, "sound_module", kSoundModule); }

TEST(FwmodExercise, SoundFactoryWithAModule) {
  expect_exercise(0, "sound_factory",
                  "ok: factory created, initialised and released; nothing left behind");
}

TEST(FwmodExercise, SoundModuleThatForks) { expect_exercise(0, "sound_fork", kSoundModule); }

TEST(FwmodExercise, UsesTheFunctionThatIsTold) {
  expect_exercise(0, "sound_module", kSoundModule, ":create_second");
}

TEST(FwmodExercise, HandsTheArgumentToInit) {
  expect_exercise(0, "sound_module", kSoundModule, ":create_second=right");
  expect_exercise(1, "sound_module",
                  "init() fails: MM_BAD_PARAM (0x00040001): bad argument (null path, function name "
                  "or factory), or the module's creation function is null" +
                      logged_by_manager("模块初始化失败.", "sound_module"),
                  "=wrong");
}

TEST(FwmodExercise, CreationFunctionGivesNull) {
  expect_exercise(1, "gives_null",
                  "create_module() gives null" +
                      logged_by_manager("无法通过模块导出函数返回模块的实例.", "gives_null"));
}

TEST(FwmodExercise, CreationFunctionThrows) {
  expect_exercise(1, "throws_on_creation", "throws int in create_module()");
}

TEST(FwmodExercise, CreationFunctionCrashes) {
  expect_exercise(1, "crashes_on_creation", std::string("crashes in create_module()") + kCrash);
}

TEST(FwmodExercise, InitFailsAndLogsInGbk) {
  expect_exercise(
      1, "init_fails",
      "init() fails: UNKNOWN (0x00abcdef): a failure code that is not the library's own" +
          logged("无法连接") + logged_by_manager("模块初始化失败.", "init_fails"));
}

TEST(FwmodExercise, InitThrows) {
  expect_exercise(1, "init_throws",
                  "throws std::runtime_error: \"no database\\nat all\" in init()");
}

TEST(FwmodExercise, InitCrashes) {
  expect_exercise(1, "crashes_in_init", std::string("crashes in init()") + kCrash);
}

TEST(FwmodExercise, InitHangs) {
  expect_check(1, fault("hangs_in_init"), "hangs in init(): killed after 5 s",
               {"--exercise", "--timeout=5"});
}

TEST(FwmodExercise, InitEndsTheProcessAsIfAllWereWell) {
  expect_exercise(1, "exits_in_init", "ends the process in init(): exit status 0");
}

// The sanitizers do not follow the unwinding of a thread that ends.
#ifndef __SANITIZE_ADDRESS__
TEST(FwmodExercise, InitEndsTheThread) {
  expect_exercise(1, "ends_thread_in_init", "ends the host's thread in init()");
}
#endif

TEST(FwmodExercise, InitCallsTheModuleManager) {
  expect_exercise(1, "calls_manager",
                  "calls the module manager's is_valid() in init(): the manager's lock is held "
                  "there, and the call runs in the middle of the operation around it");
}

TEST(FwmodExercise, ReleaseCrashes) {
  expect_exercise(1, "crashes_in_release", std::string("crashes in release()") + kCrash);
}

TEST(FwmodExercise, ReleaseThrows) {
  expect_exercise(1, "throws_in_release", "throws std::logic_error: \"in use\" in release()");
}

TEST(FwmodExercise, ReleaseStopsTheFacade) {
  expect_exercise(1, "stops_facade",
                  "calls the facade's release() in release(): the facade is the host's to stop");
}

TEST(FwmodExercise, AThreadLetsAnExceptionOut) {
  expect_exercise(1, "throws_in_thread",
                  "ends by std::terminate() in release(): nothing catches std::runtime_error: "
                  "\"connection lost\"");
}

TEST(FwmodExercise, FactoryGivesNull) {
  const ProgramResult result = run_fwmod({"--exercise", fault("factory_gives_null")});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(
      has_match(result.out, "^" + fault("factory_gives_null") +
                                ": the factory's create\\(\\) gives null\n"
                                "  logged: \"通过工厂创建模块失败:factory=0x[0-9a-f]+\"\n$"))
      << result.out;
}

TEST(FwmodExercise, FactoryOrItsModuleCrashes) {
  expect_exercise(1, "crashes_in_product",
                  std::string("crashes in the factory's create()") + kCrash, "=create");
  expect_exercise(1, "crashes_in_product",
                  std::string("crashes in init() of the factory's module") + kCrash, "=init");
  expect_exercise(1, "crashes_in_product",
                  std::string("crashes in release() of the factory's module, or in the factory's "
                              "destroy()") +
                      kCrash,
                  "=release");
}

TEST(FwmodExercise, ADescriptorOfTheHostWithAnotherFileBehindItCountsAsClosed) {
  expect_exercise(1, "replaces_descriptor", "closes descriptor 0, which is the host's");
}

TEST(FwmodExercise, ClosingAllDescriptorsOrWritingToThemChangesNoReport) {
  const ProgramResult result = run_fwmod({"--exercise", fault("closes_descriptors")});
  EXPECT_EQ(result.out,
            fault("closes_descriptors") + ": closes descriptor 0, which is the host's\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "garbage\n");
}

}  // namespace fwmod::test
