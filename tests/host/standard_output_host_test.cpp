// What the log has on standard output, where a second init() puts it.
#include <fcntl.h>
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "tests/harness/temp_dir.h"

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::test::TempDir;

namespace {

bool log_to_standard_output(const TempDir& directory) {
  IFWBase* const facade = IFWBase::instance();
  const bool good = facade->init() == ec::FW_OK &&
                    facade->runlog()->file(directory.path("log").c_str()) == ec::LOG_OK &&
                    facade->init() == ec::FW_OK;
  facade->runlog()->type(IRunLog::ERROR);
  facade->runlog()->write(IRunLog::ERROR, "shown", "");
  return good;
}

}  // namespace

TEST(LogToStandardOutput, IsThereWhenTheHostEndsWithoutExitHandlers) {
  const TempDir directory;
  const std::string path = directory.path("out");
  const pid_t child = ::fork();
  if (child == 0) {
    const int out = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const bool replaced = ::dup2(out, STDOUT_FILENO) == STDOUT_FILENO;
    ::_exit(replaced && log_to_standard_output(directory) ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(fwbase::test::read_file(path), "[ERROR]: \r\n >shown\n");
}
