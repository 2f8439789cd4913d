// What goes wrong when the system loads and unloads a library.
#include <gtest/gtest.h>

#include "loading.h"
#include "tests/harness/matching.h"
#include "tests/tools/fwmod/fwmod_program.h"

namespace fwmod::test {

TEST(FwmodLoading, SoundLibraryIsTold) {
  const std::string text =
      "ok: it loads with all symbols bound, exports create_module(), and unloads";
  expect_check(0, fault("sound_module"), text);
  expect_check(0, fault("sound_factory"), text);
}

TEST(FwmodLoading, DoesNotCreateTheModule) {
  expect_check(0, fault("crashes_on_creation"),
               "ok: it loads with all symbols bound, exports create_module(), and unloads");
}

TEST(FwmodLoading, NamesTheUndefinedSymbol) {
  expect_check(1, fault("undefined_symbol"),
               "undefined symbol nobody::has(int) (_ZN6nobody3hasEi)");
}

TEST(FwmodLoading, NamesTheUndefinedSymbolOfALibraryThatIsNeeded) {
  EXPECT_EQ(loader_fault("/lib/libb.so: undefined symbol: query, version B_1", "/lib/a.so"),
            "undefined symbol query, which /lib/libb.so needs");
}

TEST(FwmodLoading, NamesTheMissingNeededLibrary) {
  expect_check(1, fault("needs_library"),
               "needs the library libfwmod_needed_library.so, which is not there");
}

TEST(FwmodLoading, KeepsTheLoadersReasonWhereItIsAllThereIs) {
  EXPECT_EQ(loader_fault("/lib/a.so: cannot enable executable stack", "/lib/a.so"),
            "cannot be loaded: cannot enable executable stack");
  EXPECT_EQ(loader_fault("libc.so.6: version `X' not found (required by /lib/a.so)", "/lib/a.so"),
            "cannot be loaded: libc.so.6: version `X' not found (required by /lib/a.so)");
}

TEST(FwmodLoading, LooksInTheLoadersSearchPath) {
  expect_check(1, "libm.so.6", "no creation function create_module()");
  expect_check(1, "no_such_library.so",
               "no such file beside fwmod, among the installed modules or in the loader's search "
               "path; write ./no_such_library.so for one in the working directory");
}

TEST(FwmodLoading, NamesFunctionsThatMayBeMeant) {
  expect_check(1, fault("no_creation_function"),
               "no creation function create_module(); it exports counter_create_again, "
               "create_counter");
  expect_check(1, fault("creation_function_in_cpp"),
               "no creation function create_module(); it exports create_module() as a C++ "
               "function: declare it extern \"C\"");
}

TEST(FwmodLoading, LooksForTheFunctionThatIsTold) {
  const std::string path = fault("no_creation_function");
  EXPECT_EQ(
      run_fwmod({path + ":create_counter"}).out,
      path + ": ok: it loads with all symbols bound, exports create_counter(), and unloads\n");
  EXPECT_EQ(run_fwmod({path + ":create_gauge"}).out,
            path +
                ": no creation function create_gauge(); it exports counter_create_again, "
                "create_counter\n");
}

TEST(FwmodLoading, TellsAVariableFromAFunction) {
  expect_check(1, fault("creation_function_is_a_variable"),
               "create_module is a variable, not a creation function");
}

TEST(FwmodLoading, SurvivesACrash) {
  expect_check(1, fault("crashes_on_loading"),
               "crashes while loading: SIGSEGV (Segmentation fault)");
  expect_check(1, fault("crashes_on_unloading"),
               "crashes while unloading: SIGSEGV (Segmentation fault)");
}

TEST(FwmodLoading, SurvivesAHang) {
  // The limit must leave room for the start of the process.
  expect_check(1, fault("hangs_on_loading"), "hangs while loading: killed after 5 s",
               {"--timeout=5"});
}

TEST(FwmodLoading, SurvivesAnExit) {
  expect_check(1, fault("exits_on_loading"), "ends the process while loading: exit status 3");
}

TEST(FwmodLoading, SurvivesAnException) {
  // Whether an exception gets through the loader is up to the system.
  const std::string path = fault("throws_on_loading");
  const ProgramResult result = run_fwmod({path});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.out == path + ": throws std::runtime_error: \"no database\" while loading\n" ||
              result.out == path +
                                ": ends by std::terminate() while loading: nothing catches "
                                "std::runtime_error: \"no database\"\n")
      << result.out;
}

}  // namespace fwmod::test
