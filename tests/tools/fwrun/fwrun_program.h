// The command as the tests run it.
#ifndef FWRUN_TESTS_FWRUN_PROGRAM_H
#define FWRUN_TESTS_FWRUN_PROGRAM_H

#include <string>
#include <vector>

#include "tests/harness/run_program.h"
#include "tests/harness/temp_dir.h"

namespace fwrun::test {

using fwbase::test::ProgramResult;
using fwbase::test::read_file;
using fwbase::test::Stdout;

/// Runs fwrun with these arguments.
ProgramResult run_fwrun(std::vector<std::string> arguments,
                        Stdout standard_output = Stdout::kCollected);

/// A script with the documented functions; `exec` are the "section" elements, `data` the "var"s.
std::string script_with(const std::string& exec, const std::string& data = "");

/// A "print" call and a call that fails.
std::string print_call(const std::string& text);
extern const char kFailingCall[];
/// What fwrun writes about kFailingCall after the call's place.
extern const char kFailureText[];
/// What fwrun writes about a file that the XML parser refuses.
extern const char kNotReadable[];
/// The line that tells how to learn more when there is no log.
extern const char kLogAdvice[];

/// Messages without the "FILE:LINE:COLUMN: " of failing calls.
std::string without_places(const std::string& messages);

}  // namespace fwrun::test

#endif
