// Runs a program to its end and collects what it writes.
#ifndef FWBASE_TESTS_HARNESS_RUN_PROGRAM_H
#define FWBASE_TESTS_HARNESS_RUN_PROGRAM_H

#include <string>
#include <vector>

namespace fwbase::test {

struct ProgramResult {
  int status;  ///< the exit status; 128 and the signal's number when a signal ended it
  std::string out;
  std::string err;
};

/// Where the program's standard output goes.
enum class Stdout {
  kCollected,
  kClosed,      ///< the program starts with the descriptor closed
  kFullDevice,  ///< every write fails for want of space
  kBrokenPipe   ///< a pipe that nobody reads
};

/// `arguments` begin with the program's path; PATH is not searched. Throws std::runtime_error when
/// the program cannot be started.
ProgramResult run_program(const std::vector<std::string>& arguments,
                          Stdout standard_output = Stdout::kCollected);

}  // namespace fwbase::test

#endif
