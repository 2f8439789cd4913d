// Saving a file, as the calls of the system see it. The program's own functions of these names come
// before the C library's.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "support/file_io.h"
#include "tests/harness/temp_dir.h"

namespace {

using fwbase::test::TempDir;
using support::write_file;

struct Synced {
  bool directory;
  off_t size;
  bool has_name;  // whether there is a file already of the name that is to be saved
};

std::vector<Synced>* synced = nullptr;
std::string saved;

enum class Refused { kNothing, kOwner, kOwnerAndGroup };
Refused refused = Refused::kNothing;

constexpr auto kUnchanged = static_cast<uid_t>(-1);

}  // namespace

extern "C" int fsync(int descriptor) {
  struct stat status;
  if (synced != nullptr && ::fstat(descriptor, &status) == 0) {
    const bool has_name = ::access(saved.c_str(), F_OK) == 0;
    synced->push_back({S_ISDIR(status.st_mode), status.st_size, has_name});
  }
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

extern "C" int fchown(int descriptor, uid_t owner, gid_t group) noexcept {
  if (refused == Refused::kOwnerAndGroup || (refused == Refused::kOwner && owner != kUnchanged)) {
    errno = EPERM;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_fchown, descriptor, owner, group));
}

TEST(FileCalls, TheWholeTextIsOnTheDiskBeforeItGetsItsNameAndThenTheNameIs) {
  const TempDir directory;
  std::vector<Synced> calls;
  saved = directory.path("new");
  synced = &calls;
  EXPECT_TRUE(write_file(saved, std::string(1000, 'n')));
  synced = nullptr;
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_FALSE(calls[0].directory);
  EXPECT_EQ(calls[0].size, 1000);
  EXPECT_FALSE(calls[0].has_name);
  EXPECT_TRUE(calls[1].directory);
  EXPECT_TRUE(calls[1].has_name);
}

// Else the file would lend the rights of whoever saves it to those who may run it.
TEST(FileCalls, BitsThatLendRightsGoWithAnOwnerOrGroupThatCannotBeKept) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "only root can make a file of another user and saves it with these bits";
  }
  const struct {
    Refused what;
    mode_t mode;
  } kCases[] = {
      {Refused::kNothing, 06777}, {Refused::kOwner, 02777}, {Refused::kOwnerAndGroup, 0777}};
  for (const auto& one : kCases) {
    const TempDir directory;
    const std::string path = directory.path("x");
    fwbase::test::write_file(path, "old");
    ASSERT_EQ(::chown(path.c_str(), 1234, 4321), 0);
    ASSERT_EQ(::chmod(path.c_str(), 06777), 0);
    refused = one.what;
    EXPECT_TRUE(write_file(path, "new"));
    refused = Refused::kNothing;
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, one.mode);
    EXPECT_EQ(fwbase::test::read_file(path), "new");
  }
}
