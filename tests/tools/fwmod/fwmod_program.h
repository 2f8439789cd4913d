// The command as the tests run it.
#ifndef FWMOD_TESTS_FWMOD_PROGRAM_H
#define FWMOD_TESTS_FWMOD_PROGRAM_H

#include <string>
#include <vector>

#include "tests/harness/run_program.h"

namespace fwmod::test {

using fwbase::test::ProgramResult;
using fwbase::test::Stdout;

/// Runs fwmod with these arguments.
ProgramResult run_fwmod(std::vector<std::string> arguments,
                        Stdout standard_output = Stdout::kCollected);

/// The path of one of the test libraries.
std::string fault(const std::string& name);

/// Runs fwmod and expects this exit status and, after the path and ": ", this text and the end of
/// the line.
void expect_check(int status, const std::string& path, const std::string& text,
                  std::vector<std::string> options = {});

/// The same with --exercise, for the test library of this name. `arguments` is what follows the
/// path: ":FUNCTION=ARGUMENT".
void expect_exercise(int status, const std::string& name, const std::string& text,
                     const std::string& arguments = "");

}  // namespace fwmod::test

#endif
