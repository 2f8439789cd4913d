// What is made from a command's declaration beside its --help: its manual page and its completion.
#ifndef TOOLS_COMMAND_LINE_COMMAND_PAGES_H
#define TOOLS_COMMAND_LINE_COMMAND_PAGES_H

#include <optional>
#include <string>
#include <vector>

#include "command_line/completion.h"

namespace CLI {
class App;
}

namespace tools {

/// For a command line that is one of these words alone, which the build uses and --help does not
/// list: --man-page gives the manual page in the troff language, --bash-completion,
/// --zsh-completion and --fish-completion what completes the command's arguments in these shells.
/// Nothing for any other command line.
std::optional<std::string> command_page(const CLI::App& app, int argc, const char* const* argv,
                                        const std::vector<Choice>& choices = {});

/// True for these command lines. The pages go into packages, for everybody: they are English.
bool asks_for_page(int argc, const char* const* argv);

/// Name, synopsis, options, and the paragraphs of the footer; those that begin with "Exit status: "
/// and "Example: " become sections of their own.
std::string man_page(const CLI::App& app);

}  // namespace tools

#endif
