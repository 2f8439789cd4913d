#include "support/process_id.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using support::process_id;

TEST(ProcessId, IsThatOfThisProcessEachTime) {
  EXPECT_EQ(process_id(), ::getpid());
  EXPECT_EQ(process_id(), ::getpid());
}

namespace {

bool is_own() { return process_id() == ::getpid() && process_id() == ::getpid(); }

bool succeeded(pid_t child) {
  int status = -1;
  return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

// A child that forks in turn, each in the way given.
void expect_own_ids(pid_t (*fork)()) {
  ASSERT_TRUE(is_own());
  const pid_t child = fork();
  if (child == 0) {
    const bool own = is_own();
    const pid_t grandchild = fork();
    if (grandchild == 0) {
      ::_exit(is_own() ? 0 : 1);
    }
    ::_exit(own && succeeded(grandchild) && is_own() ? 0 : 1);
  }
  EXPECT_TRUE(succeeded(child));
  EXPECT_TRUE(is_own());
}

}  // namespace

TEST(ProcessId, IsAForkedChildsOwn) { expect_own_ids(&::fork); }

TEST(ProcessId, IsAChildsOwnThatRunsNoHandlersOfForks) { expect_own_ids(&::_Fork); }

TEST(ProcessId, IsAChildsOwnThatIsMadeByASystemCall) {
  expect_own_ids([] { return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); });
}
