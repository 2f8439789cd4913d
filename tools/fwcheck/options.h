// The command line.
#ifndef FWCHECK_OPTIONS_H
#define FWCHECK_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "command_line/module_argument.h"

namespace fwcheck {

enum class Format { kText, kJson, kSarif };

enum class Print { kNothing, kCatalogue, kTemplate, kSchema, kMarkdown };

struct Options {
  std::vector<std::string> scripts;  ///< "-" is standard input
  std::vector<tools::ModuleArgument> modules;
  std::vector<std::string> catalogues;
  bool any_function = false;
  std::vector<std::string> environment;
  Format format = Format::kText;
  std::vector<std::string> ignored;  ///< rules
  bool strict = false;
  Print print = Print::kNothing;
};

/// Reads the command line. Gives the exit status when there is nothing left to do: --help and
/// --version have been answered, or an error has been told.
std::optional<int> parse_options(int argc, char** argv, Options& options);

}  // namespace fwcheck

#endif
