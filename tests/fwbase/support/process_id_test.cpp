#include "fwbase/support/process_id.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using fwbase::support::process_id;

TEST(ProcessId, IsThatOfThisProcessEachTime) {
  EXPECT_EQ(process_id(), ::getpid());
  EXPECT_EQ(process_id(), ::getpid());
}

TEST(ProcessId, IsAForkedChildsOwn) {
  ASSERT_EQ(process_id(), ::getpid());
  const pid_t child = ::fork();
  if (child == 0) {
    ::_exit(process_id() == ::getpid() && process_id() == ::getpid() ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}
