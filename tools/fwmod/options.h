// The command line.
#ifndef FWMOD_OPTIONS_H
#define FWMOD_OPTIONS_H

#include <optional>

#include "support/module_argument.h"

namespace fwmod {

struct Options {
  tools::ModuleArgument module;
  bool exercise = false;
  int timeout = 10;  ///< seconds
};

/// Reads the command line. Gives the exit status when there is nothing left to do: --help and
/// --version have been answered, or an error has been reported.
std::optional<int> parse_options(int argc, char** argv, Options& options);

}  // namespace fwmod

#endif
