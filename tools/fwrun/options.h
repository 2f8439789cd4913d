// What the command line asks for: a script, modules, variables, and what to print.
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
  std::string path;    ///< where it is read from; set by run()
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

/// Reads the command line. Returns the exit status when nothing is left to do: --help or --version
/// was answered, or the command line is wrong, and a complaint says why.
std::optional<int> parse_options(int argc, char** argv, Options& options);

}  // namespace fwrun

#endif
