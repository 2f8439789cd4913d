// The command line.
#ifndef FWMOD_OPTIONS_H
#define FWMOD_OPTIONS_H

#include <optional>
#include <string>

namespace fwmod {

struct Options {
  std::string library;  ///< a path, or a name to look up
  std::string function = "create_module";
  std::optional<std::string> argument;
  bool exercise = false;
  int timeout = 10;  ///< seconds
};

/// Reads the command line. Gives the exit status when there is nothing left to do: --help and
/// --version have been answered, or an error has been reported.
std::optional<int> parse_options(int argc, char** argv, Options& options);

}  // namespace fwmod

#endif
