// The command line, the exit status, and how findings are written.
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

/// Reads the command line. Gives the exit status when there is nothing left to do: --help and
/// --version have been answered, or an error has been reported.
std::optional<int> parse_options(int argc, char** argv, Options& options);

enum Status : int {
  kSound = 0,
  kFaulty = 1,       ///< the library does not do what a module library must
  kNotChecked = 2,   ///< wrong usage, or the check cannot be made or told of
  kLeavesThings = 3  ///< sound, but something of the module is left after its release()
};

/// Writes `text` to standard output at once and gives `status`; when that fails, says so and gives
/// kNotChecked.
Status write_out(const std::string& text, Status status);

}  // namespace fwmod

#endif
