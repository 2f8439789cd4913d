#include "support/file_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <set>
#include <thread>

#include "tests/harness/file_size_limit.h"
#include "tests/harness/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using support::write_file;
using std::string_literals::operator""s;

class FileIo : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return m_directory.path(name); }
  static std::string text(const std::string& file) { return fwbase::test::read_file(file); }
  static void make(const std::string& file, const std::string& text) {
    fwbase::test::write_file(file, text);
  }
  static struct stat status(const std::string& file) {
    struct stat result = {};
    EXPECT_EQ(::lstat(file.c_str(), &result), 0) << file;
    return result;
  }
  std::set<std::string> names() const {
    std::set<std::string> all;
    for (const auto& entry : fs::directory_iterator(m_directory.path())) {
      all.insert(entry.path().filename());
    }
    return all;
  }

 private:
  fwbase::test::TempDir m_directory;
};

TEST_F(FileIo, ANewFileGetsWhatTheUmaskLeaves) {
  const mode_t before = ::umask(027);
  EXPECT_TRUE(write_file(path("new"), "text"));
  ::umask(before);
  EXPECT_EQ(text(path("new")), "text");
  EXPECT_EQ(status(path("new")).st_mode & 07777, 0640u);
  EXPECT_EQ(names(), std::set<std::string>{"new"});
}

TEST_F(FileIo, AReplacedFileKeepsItsPermissionsAndOwner) {
  make(path("x"), "old");
  ASSERT_EQ(::chmod(path("x").c_str(), 04751), 0);
  const bool is_root = ::geteuid() == 0;
  if (is_root) {
    ASSERT_EQ(::chown(path("x").c_str(), 1234, 4321), 0);
    ASSERT_EQ(::chmod(path("x").c_str(), 04751), 0);
  }
  const struct stat before = status(path("x"));
  EXPECT_TRUE(write_file(path("x"), "new"));
  const struct stat after = status(path("x"));
  EXPECT_EQ(text(path("x")), "new");
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_NE(after.st_ino, before.st_ino);  // replaced, not written over
  EXPECT_EQ(names(), std::set<std::string>{"x"});
}

// As Linux keeps it in the extended attribute: version 2, then tag, permissions and user of each.
std::string access_list() {
  struct Entry {
    std::uint16_t tag, permissions;
    std::uint32_t id;
  };
  constexpr std::uint32_t kVersion = 2;
  constexpr auto kNone = static_cast<std::uint32_t>(-1);
  constexpr Entry kEntries[] = {{0x01, 6, kNone},   // the owner reads and writes
                                {0x02, 4, 12345},   // so much may this user: read
                                {0x04, 0, kNone},   // the group may nothing
                                {0x10, 4, kNone},   // the mask, which stat() shows as the group's
                                {0x20, 0, kNone}};  // nor may others
  std::string list(reinterpret_cast<const char*>(&kVersion), sizeof kVersion);
  return list.append(reinterpret_cast<const char*>(kEntries), sizeof kEntries);
}

TEST_F(FileIo, AReplacedFileKeepsItsAccessList) {
  constexpr const char* kAttribute = "system.posix_acl_access";
  const std::string list = access_list();
  make(path("x"), "old");
  const int set = ::setxattr(path("x").c_str(), kAttribute, list.data(), list.size(), 0);
  const bool has_lists = set == 0 || errno != ENOTSUP;  // of the file system: else its mode is all
  ASSERT_EQ(set, has_lists ? 0 : -1);
  const struct stat before = status(path("x"));
  EXPECT_TRUE(write_file(path("x"), "new"));
  EXPECT_EQ(text(path("x")), "new");
  EXPECT_NE(status(path("x")).st_ino, before.st_ino);
  EXPECT_EQ(status(path("x")).st_mode, before.st_mode);
  std::string kept(list.size() + 1, '\0');
  const ssize_t size = ::getxattr(path("x").c_str(), kAttribute, kept.data(), kept.size());
  ASSERT_EQ(size >= 0, has_lists);
  kept.resize(has_lists ? static_cast<std::size_t>(size) : 0);
  EXPECT_EQ(kept, has_lists ? list : "");
}

TEST_F(FileIo, FollowsSymbolicLinks) {
  fs::create_directory(path("d"));
  make(path("d/x"), "old");
  fs::create_symlink("d/x", path("relative"));
  fs::create_symlink(path("relative"), path("absolute"));
  fs::create_symlink("d/new", path("dangling"));
  fs::create_symlink("loop", path("loop"));
  EXPECT_TRUE(write_file(path("absolute"), "new"));
  EXPECT_EQ(text(path("d/x")), "new");
  EXPECT_TRUE(write_file(path("dangling"), "made"));
  EXPECT_EQ(text(path("d/new")), "made");
  EXPECT_FALSE(write_file(path("loop"), "x"));
  for (const char* const link : {"relative", "absolute", "dangling", "loop"}) {
    EXPECT_TRUE(fs::is_symlink(path(link))) << link;
  }
}

TEST_F(FileIo, WritesToStreamsAsTheyAre) {
  EXPECT_FALSE(write_file("/dev/full", "text"));
  EXPECT_TRUE(S_ISCHR(status("/dev/full").st_mode));
  EXPECT_TRUE(write_file("/dev/null", "text"));
  EXPECT_TRUE(S_ISCHR(status("/dev/null").st_mode));

  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  std::string received;
  std::thread reader([&] { received = text(path("pipe")); });
  EXPECT_TRUE(write_file(path("pipe"), "text"));
  reader.join();
  EXPECT_EQ(received, "text");
  EXPECT_TRUE(S_ISFIFO(status(path("pipe")).st_mode));
}

TEST_F(FileIo, WritesToStandardOutputWhateverItIs) {
  make(path("out"), "before ");
  const int out = ::open(path("out").c_str(), O_WRONLY | O_APPEND);
  ASSERT_GE(out, 0);
  const ino_t inode = status(path("out")).st_ino;
  const std::string name = "/proc/self/fd/" + std::to_string(out);
  EXPECT_TRUE(write_file(name, "text"));
  EXPECT_EQ(::write(out, " after", 6), 6);
  ::close(out);
  EXPECT_EQ(text(path("out")), "before text after");
  EXPECT_EQ(status(path("out")).st_ino, inode);
}

TEST_F(FileIo, APipeWithoutReaderIsAFailureAndNoSignal) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ::close(ends[0]);
  EXPECT_FALSE(write_file("/proc/self/fd/" + std::to_string(ends[1]), "text"));
  ::close(ends[1]);
}

TEST_F(FileIo, AFullDiskLeavesTheFileAndNothingBesideIt) {
  make(path("x"), "old");
  {
    const fwbase::test::FileSizeLimit limit(100);
    EXPECT_FALSE(write_file(path("x"), std::string(1000, 'n')));
    EXPECT_FALSE(write_file(path("new"), std::string(1000, 'n')));
  }
  EXPECT_EQ(text(path("x")), "old");
  EXPECT_EQ(names(), std::set<std::string>{"x"});
}

TEST_F(FileIo, TheSignalOfAFileTooLargeStaysAway) {
  make(path("x"), "old");
  const fwbase::test::FileSizeLimit limit(100);
  ::signal(SIGXFSZ, SIG_DFL);  // which would end the process
  EXPECT_FALSE(write_file(path("x"), std::string(1000, 'n')));
  sigset_t pending;
  ::sigpending(&pending);
  EXPECT_EQ(sigismember(&pending, SIGXFSZ), 0);
}

TEST_F(FileIo, WhatCannotBeWrittenIsAFailure) {
  fs::create_directory(path("d"));
  make(path("file"), "old");
  for (const std::string& name : {""s, path("none/x"), path("d"), path("d/"), path("file/x"),
                                  path("x\0y"s), path(std::string(300, 'n')), path("new/")}) {
    EXPECT_FALSE(write_file(name, "text")) << name;
  }
  EXPECT_EQ(names(), (std::set<std::string>{"d", "file"}));
  EXPECT_TRUE(fs::is_empty(path("d")));
}

TEST_F(FileIo, AProtectedFileIsNotReplaced) {
  make(path("x"), "old");
  ASSERT_EQ(::chmod(path("x").c_str(), 0444), 0);
  ASSERT_EQ(::chmod(path("").c_str(), 0777), 0);
  const bool is_root = ::geteuid() == 0;  // root may write everywhere: be nobody for a while
  if (is_root) {
    ASSERT_EQ(::seteuid(65534), 0);
  }
  EXPECT_FALSE(write_file(path("x"), "new"));
  if (is_root) {
    ASSERT_EQ(::seteuid(0), 0);
  }
  EXPECT_EQ(text(path("x")), "old");
  EXPECT_EQ(names(), std::set<std::string>{"x"});
}

TEST_F(FileIo, AReaderFindsAWholeFileAtAnyMoment) {
  const std::string texts[] = {std::string(200'000, 'a'), std::string(300'000, 'b')};
  make(path("x"), texts[0]);
  std::atomic<bool> done{false};
  std::atomic<int> reads{0};
  std::thread reader([&] {
    while (!done || reads == 0) {
      std::string found;
      ASSERT_EQ(support::read_file(path("x"), 1'000'000, found), support::ReadResult::kOk);
      ASSERT_TRUE(found == texts[0] || found == texts[1]) << found.size();
      ++reads;
    }
  });
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(write_file(path("x"), texts[i % 2]));
  done = true;
  reader.join();
  EXPECT_GT(reads, 0);
}

// A temporary file is locked as long as somebody is writing it.
TEST_F(FileIo, RemovesWhatAKilledProcessHasLeftAndNoFileInUse) {
  make(path(".fwbase-save-1-0"), "left");
  make(path(".fwbase-save-1-1"), "in use");
  make(path("fwbase-save-1-2"), "another file");
  const int in_use = ::open(path(".fwbase-save-1-1").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(::flock(in_use, LOCK_EX), 0);
  EXPECT_TRUE(write_file(path("x"), "text"));
  EXPECT_EQ(names(), (std::set<std::string>{".fwbase-save-1-1", "fwbase-save-1-2", "x"}));
  ::close(in_use);
  EXPECT_TRUE(write_file(path("x"), "text"));
  EXPECT_EQ(names(), (std::set<std::string>{"fwbase-save-1-2", "x"}));
}

TEST_F(FileIo, ReadsUpToALimit) {
  make(path("x"), "12345");
  std::string found;
  EXPECT_EQ(support::read_file(path("x"), 5, found), support::ReadResult::kOk);
  EXPECT_EQ(found, "12345");
  EXPECT_EQ(support::read_file(path("x"), 4, found), support::ReadResult::kTooLarge);
}

}  // namespace
