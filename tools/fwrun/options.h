// The command line.
#ifndef FWRUN_OPTIONS_H
#define FWRUN_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <fwbase/log_options.h>

#include "command_line/module_argument.h"

namespace fwrun {

typedef std::variant<std::int32_t, std::string> Value;

/// A variable to set: NAME=VALUE, NAME:int=VALUE or NAME:string=VALUE.
struct Assignment {
  std::string name;
  Value value;
};

struct Options {
  std::string script;  ///< as given; "-" is standard input
  std::string path;    ///< where it is read from; not known to the command line
  std::vector<std::string> sections;
  std::vector<tools::ModuleArgument> modules;
  std::vector<std::string> mocks;  ///< names of functions
  bool mock_missing = false;
  std::string log_file;  ///< empty for none
  unsigned int levels = 0;
  unsigned int details = 0;
  bool queued = false;
  fwbase::LogOptions log;
  std::vector<Assignment> globals;
  std::vector<Assignment> environment;
  bool list = false;
  bool functions = false;
  bool check = false;
  bool print = false;
  bool save = false;
  bool watch = false;
};

/// Reads the command line. Gives the exit status when there is nothing left to do: --help and
/// --version have been answered, or an error has been reported.
std::optional<int> parse_options(int argc, char** argv, Options& options);

}  // namespace fwrun

#endif
