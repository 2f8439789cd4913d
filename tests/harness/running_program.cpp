#include "tests/harness/running_program.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include <gtest/gtest.h>

namespace fwbase::test {

namespace {

std::string read_from(int descriptor, std::size_t size) {
  std::string text;
  char c = 0;
  while (text.size() < size && read(descriptor, &c, 1) == 1) {
    text += c;
  }
  return text;
}

// Of the test's process they are inherited; a runner in the background may have Ctrl-C ignored.
[[noreturn]] void run(std::vector<std::string>& arguments) {
  std::signal(SIGINT, SIG_DFL);
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

}  // namespace

RunningProgram::RunningProgram(std::vector<std::string> arguments) {
  int out[2];
  int err[2];
  if (pipe(out) != 0 || pipe(err) != 0) {
    throw std::runtime_error("no pipe");
  }
  m_child = fork();
  if (m_child == 0) {
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    for (const int end : {out[0], out[1], err[0], err[1]}) {
      close(end);
    }
    run(arguments);
  }
  close(out[1]);
  close(err[1]);
  m_out = out[0];
  m_err = err[0];
}

RunningProgram::~RunningProgram() {
  if (m_child > 0) {
    kill(m_child, SIGKILL);
    waitpid(m_child, nullptr, 0);
  }
  close_out();
  close(m_err);
}

void RunningProgram::expect(const std::string& text) {
  EXPECT_EQ(read_from(m_out, text.size()), text);
}

void RunningProgram::expect_error(const std::string& text) {
  EXPECT_EQ(read_from(m_err, text.size()), text);
}

std::string RunningProgram::error_line() {
  std::string line;
  while (!line.ends_with('\n')) {
    const std::string next = read_from(m_err, 1);
    if (next.empty()) {
      break;
    }
    line += next;
  }
  return line;
}

void RunningProgram::stop() {
  kill(m_child, SIGSTOP);
  waitpid(m_child, nullptr, WUNTRACED);
}

void RunningProgram::go_on() { kill(m_child, SIGCONT); }

int RunningProgram::interrupt() {
  send(SIGINT);
  EXPECT_EQ(read_from(m_out, 1000), "");
  EXPECT_EQ(read_from(m_err, 1000), "");
  return wait();
}

void RunningProgram::send(int signal) { kill(m_child, signal); }

int RunningProgram::wait() {
  int status = 0;
  waitpid(m_child, &status, 0);
  m_child = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void RunningProgram::close_out() {
  if (m_out >= 0) {
    close(m_out);
  }
  m_out = -1;
}

}  // namespace fwbase::test
