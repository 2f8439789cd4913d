// The command as the tests run it, and the logs that they give it.
#ifndef FWLOG_TESTS_FWLOG_PROGRAM_H
#define FWLOG_TESTS_FWLOG_PROGRAM_H

#include <string>
#include <vector>

#include "tests/harness/run_program.h"

namespace fwlog::test {

using fwbase::test::ProgramResult;
using fwbase::test::Stdout;

inline ProgramResult run_fwlog(std::vector<std::string> arguments,
                               Stdout standard_output = Stdout::kCollected) {
  arguments.insert(arguments.begin(), FWLOG_PROGRAM);
  return fwbase::test::run_program(arguments, standard_output);
}

/// A record without details: "[ERROR]: here\r\n >text\n" of "[ERROR]:", "text".
inline std::string record(const std::string& tag, const std::string& message,
                          const std::string& head = " here") {
  return tag + head + "\r\n >" + message + "\n";
}

}  // namespace fwlog::test

#endif
