// How shells complete the arguments of a command, made from the options that it declares.
#ifndef TOOLS_COMMAND_LINE_COMPLETION_H
#define TOOLS_COMMAND_LINE_COMPLETION_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tools {

/// What an option's value, or an argument, can be.
struct Choice {
  std::string option;      ///< "--level"; empty for arguments behind the first, which is a file
  std::string words = {};  ///< separated by blanks, or
  std::string command =
      {};  ///< for a POSIX shell: prints them, a line each; "$1" is the first argument
  bool is_list = false;  ///< several of the words, separated by commas
};

/// A script that completes options, known values, and file names elsewhere.
std::string bash_completion(const CLI::App& app, const std::vector<Choice>& choices = {});
std::string zsh_completion(const CLI::App& app, const std::vector<Choice>& choices = {});
std::string fish_completion(const CLI::App& app, const std::vector<Choice>& choices = {});

}  // namespace tools

#endif
