#include "modules/module_path.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/harness/temp_dir.h"

namespace tools::test {
namespace {

namespace fs = std::filesystem;
using fwbase::test::TempDir;
using fwbase::test::write_file;

// Searches two directories that hold these files.
std::string found(const std::string& name, const TempDir& first, const TempDir& second) {
  return module_path(name, {first.path(), second.path()});
}

}  // namespace

TEST(ModulePath, TriesTheNamesOfALibraryInOrder) {
  const TempDir first;
  const TempDir second;
  EXPECT_EQ(found("clock", first, second), "clock");
  write_file(first.path("clock"), "");
  EXPECT_EQ(found("clock", first, second), first.path("clock"));
  write_file(first.path("clock.so"), "");
  EXPECT_EQ(found("clock", first, second), first.path("clock.so"));
  write_file(first.path("libclock.so"), "");
  EXPECT_EQ(found("clock", first, second), first.path("libclock.so"));
}

TEST(ModulePath, TakesAFullFileName) {
  const TempDir first;
  const TempDir second;
  write_file(first.path("libclock.so"), "");
  EXPECT_EQ(found("libclock.so", first, second), first.path("libclock.so"));
  EXPECT_EQ(found("clock.so", first, second), "clock.so");
}

TEST(ModulePath, PrefersTheFirstDirectory) {
  const TempDir first;
  const TempDir second;
  write_file(second.path("libclock.so"), "");
  EXPECT_EQ(found("clock", first, second), second.path("libclock.so"));
  write_file(first.path("clock"), "");
  EXPECT_EQ(found("clock", first, second), first.path("clock"));
}

TEST(ModulePath, PassesOverWhatIsNoFile) {
  const TempDir first;
  const TempDir second;
  fs::create_directory(first.path("libclock.so"));
  fs::create_symlink("missing", first.path("clock.so"));
  EXPECT_EQ(found("clock", first, second), "clock");
  write_file(second.path("real"), "");
  fs::create_symlink(second.path("real"), first.path("clock"));
  EXPECT_EQ(found("clock", first, second), first.path("clock"));
}

TEST(ModulePath, HandsOnWhatHasADirectoryAndTheEmptyName) {
  const TempDir first;
  const TempDir second;
  write_file(first.path("libclock.so"), "");
  for (const char* const name : {"./clock", "/clock", "modules/clock", ""}) {
    EXPECT_EQ(found(name, first, second), name);
  }
}

TEST(ModulePath, SearchesBesideTheProgramAndWhereModulesAreInstalled) {
  const std::vector<std::string> directories = module_directories();
  ASSERT_EQ(directories.size(), 2U);
  EXPECT_EQ(directories[0], fs::read_symlink("/proc/self/exe").parent_path());
  EXPECT_EQ(fs::path(directories[1]).filename(), "fwbase-1");
  EXPECT_EQ(module_path("modules_tests"), directories[0] + "/modules_tests");
}

}  // namespace tools::test
