// What the command line asks for: scripts, what they are compared with, and the output.
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

/// Reads the command line. Returns the exit status when nothing is left to do: --help or --version
/// was answered, or the command line is wrong, and a complaint says why.
std::optional<int> parse_options(int argc, char** argv, Options& options);

}  // namespace fwcheck

#endif
