// Reading a command line with CLI11: what all commands have in common.
#ifndef TOOLS_COMMAND_LINE_PARSING_H
#define TOOLS_COMMAND_LINE_PARSING_H

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "command_line/completion.h"
#include "command_line/messages.h"
#include "command_line/module_argument.h"

namespace CLI {
class App;
}

namespace tools {

/// The version of all commands.
extern const char* const kVersion;

/// Names the command and declares --help, under the names in `help`, and --version.
void name_command(CLI::App& app, const std::string& name, const std::string& help,
                  Language language = Language::kEnglish);

/// Parses the command line, then calls `interpret`, which may refuse() values. Returns the exit
/// status when nothing is left to do: for --help, --version and the pages what `write_out` returns,
/// and 2, after a complaint, when the command line is wrong.
/// choices   what shells complete beside options and files
std::optional<int> parse(CLI::App& app, int argc, const char* const* argv,
                         const std::vector<Choice>& choices,
                         const std::function<int(const std::string&)>& write_out,
                         const std::function<void()>& interpret);

/// For `interpret`: the value of an option or argument is wrong.
[[noreturn]] void refuse(const std::string& option, const Message& message,
                         MessageArguments arguments = {});

/// The module that a value names. Refuses any other value.
ModuleArgument module_of(const std::string& option, const std::string& text);

/// The words that an option takes, in the order of messages, with what each stands for.
template <typename Value>
using Words = std::vector<std::pair<std::string, Value>>;

template <typename Value>
[[noreturn]] void refuse_word(const std::string& option, const std::string& text,
                              const Words<Value>& words) {
  std::string all;
  for (const auto& [word, value] : words) {
    all += (all.empty() ? "" : ", ") + word;
  }
  refuse(option, {"'{1}' is not one of {2}", "“{1}”不在其中：{2}"}, {text, all});
}

/// What the word `text` stands for. Refuses any other text.
template <typename Value>
Value one_of(const std::string& option, const std::string& text, const Words<Value>& words) {
  for (const auto& [word, value] : words) {
    if (word == text) {
      return value;
    }
  }
  refuse_word(option, text, words);
}

/// The bits of a comma-separated list of words in upper or lower case. Refuses other words.
unsigned int bits_of(const std::string& option, const std::string& list,
                     const Words<unsigned int>& words);

}  // namespace tools

#endif
