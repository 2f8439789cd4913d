// The manual page and the completions of a command, made from the options that it declares.
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

/// The page that a command line asks for with one of these words alone, which the build uses and
/// --help does not list: --man-page is the manual page in troff; --bash-completion,
/// --zsh-completion and --fish-completion complete the command's arguments in these shells. Nothing
/// for any other command line.
std::optional<std::string> command_page(const CLI::App& app, int argc, const char* const* argv,
                                        const std::vector<Choice>& choices = {});

/// True for these command lines. The pages go into packages and are English for every user.
bool asks_for_page(int argc, const char* const* argv);

/// Name, synopsis, options and the paragraphs of the footer. Paragraphs that begin with
/// "Exit status: " and "Example: " become sections.
std::string man_page(const CLI::App& app);

}  // namespace tools

#endif
