// A program that goes on running, and what it has written.
#ifndef FWBASE_TESTS_HARNESS_RUNNING_PROGRAM_H
#define FWBASE_TESTS_HARNESS_RUNNING_PROGRAM_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace fwbase::test {

/// Starts it; kills it at the end if it still runs. What is expected of it and never comes is
/// waited for: the test's time limit tells.
class RunningProgram {
 public:
  /// `arguments` begin with the program's path. Throws std::runtime_error.
  explicit RunningProgram(std::vector<std::string> arguments);
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  /// Reads until as much was written as `text` is long, and compares it.
  void expect(const std::string& text);
  void expect_error(const std::string& text);

  /// The next line of standard error, with its end; less at the end of all.
  std::string error_line();

  /// Neither reads nor writes in between.
  void stop();
  void go_on();

  /// Ctrl-C: gives the exit status. Nothing more may have been written.
  int interrupt();

  void send(int signal);

  /// Its exit status; 128 and the signal's number when a signal ended it.
  int wait();

  /// Its standard output has no reader any more.
  void close_out();

 private:
  pid_t m_child = 0;
  int m_out = -1;
  int m_err = -1;
};

}  // namespace fwbase::test

#endif
