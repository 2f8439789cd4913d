// What a forked child makes of the log file that it has from its parent.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "fwbase/runlog/log_file.h"
#include "tests/harness/temp_dir.h"

TEST(LogFileFork, ProgramsThatTheChildStartsDoNotInheritIt) {
  const fwbase::test::TempDir directory;
  const int next_descriptor = ::dup(0);
  ::close(next_descriptor);
  fwbase::LogFile file;
  ASSERT_TRUE(file.open(directory.path("log").c_str()));
  file.part_from_parent();
  EXPECT_EQ(::fcntl(next_descriptor, F_GETFD), FD_CLOEXEC);
}
