// What the command line asks for, and the exit status.
#ifndef FWMOD_OPTIONS_H
#define FWMOD_OPTIONS_H

#include <optional>
#include <string>

#include "command_line/module_argument.h"

namespace fwmod {

struct Options {
  tools::ModuleArgument module;
  bool exercise = false;
  int timeout = 10;  ///< seconds
};

/// Reads the command line. Returns the exit status when nothing is left to do: --help or --version
/// was answered, or the command line is wrong, and a complaint says why.
std::optional<int> parse_options(int argc, char** argv, Options& options);

enum Status : int {
  kSound = 0,
  kFaulty = 1,       ///< the library does not do what a module library must
  kNotChecked = 2,   ///< wrong usage, or the check could not be made or written
  kLeavesThings = 3  ///< sound, but the module left something behind
};

/// Writes `text` to standard output at once and returns `status`. Complains when that fails, and
/// returns kNotChecked.
Status write_out(const std::string& text, Status status);

}  // namespace fwmod

#endif
