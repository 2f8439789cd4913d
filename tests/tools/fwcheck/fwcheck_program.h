// The command as the tests run it.
#ifndef FWCHECK_TESTS_FWCHECK_PROGRAM_H
#define FWCHECK_TESTS_FWCHECK_PROGRAM_H

#include <string>
#include <vector>

#include "tests/harness/run_program.h"

namespace fwcheck::test {

using fwbase::test::ProgramResult;
using fwbase::test::Stdout;

/// Runs fwcheck with these arguments.
ProgramResult run_fwcheck(std::vector<std::string> arguments,
                          Stdout standard_output = Stdout::kCollected);

/// Runs a line of the shell in which "$0" is fwcheck and "$1" and so on are the arguments.
ProgramResult run_line(const std::string& line, std::vector<std::string> arguments = {});

/// A script with the documented functions and these calls in its section "run".
std::string script_with_calls(const std::string& calls);

}  // namespace fwcheck::test

#endif
