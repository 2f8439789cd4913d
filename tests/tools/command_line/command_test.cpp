#include "command_line/command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>

namespace tools::test {

namespace {

struct Ended {
  int status;
  std::string complaints;
};

Ended run(const std::function<int()>& work) {
  testing::internal::CaptureStderr();
  const int status = run_command("cmd", 3, work);
  return {status, testing::internal::GetCapturedStderr()};
}

/// Standard output is a device without room while it lives.
class FullOutput {
 public:
  FullOutput() : m_before(dup(STDOUT_FILENO)) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    dup2(full, STDOUT_FILENO);
    close(full);
  }
  ~FullOutput() {
    dup2(m_before, STDOUT_FILENO);
    close(m_before);
  }
  FullOutput(const FullOutput&) = delete;
  FullOutput& operator=(const FullOutput&) = delete;

 private:
  const int m_before;
};

}  // namespace

TEST(Command, ReturnsWhatItsWorkReturns) {
  const Ended ended = run([] { return 5; });
  EXPECT_EQ(ended.status, 5);
  EXPECT_EQ(ended.complaints, "");
}

TEST(Command, FailsWithAComplaintWithoutMemoryAndWhenASystemCallThrows) {
  const Ended memory = run([]() -> int { throw std::bad_alloc(); });
  EXPECT_EQ(memory.status, 3);
  EXPECT_EQ(memory.complaints, "cmd: memory ran out\n");
  const Ended call = run(
      []() -> int { throw std::system_error(EACCES, std::generic_category(), "no \x1B file"); });
  EXPECT_EQ(call.status, 3);
  EXPECT_EQ(call.complaints, "cmd: no \\x1b file: Permission denied\n");
}

TEST(Command, ComplaintsBeginWithItsNameAndAreEscaped) {
  const Ended ended = run([] {
    complain({"cannot open {1}", "无法打开 {1}"}, {"a\nb"});
    complain_text("twice");
    return 0;
  });
  EXPECT_EQ(ended.complaints, "cmd: cannot open a\\nb\ncmd: twice\n");
}

TEST(Command, OutputThatCannotBeWrittenIsToldAndMayBeTriedAgain) {
  const Ended ended = run([] {
    const FullOutput full;
    EXPECT_FALSE(write_text("lost"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(std::ferror(stdout), 0);
    EXPECT_FALSE(write_out("lost"));
    return 0;
  });
  EXPECT_EQ(ended.complaints, "cmd: cannot write to standard output: No space left on device\n");
  EXPECT_TRUE(write_out("\n"));
}

}  // namespace tools::test
