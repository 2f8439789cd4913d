// How a command line names a module.
#ifndef TOOLS_COMMAND_LINE_MODULE_ARGUMENT_H
#define TOOLS_COMMAND_LINE_MODULE_ARGUMENT_H

#include <optional>
#include <string>

namespace tools {

/// The creation function of a module when none is named.
constexpr char kDefaultCreateFunction[] = "create_module";

/// PATH[:FUNCTION][=ARGUMENT]
struct ModuleArgument {
  std::string path;  ///< as given; see module_path()
  std::string function = kDefaultCreateFunction;
  std::optional<std::string> argument = std::nullopt;  ///< for the module's init()
};

/// Takes the text apart. The argument follows the first '='. The function follows the last colon of
/// the file name: directories may have colons, and a file name with a colon needs a function behind
/// it. None for a text without a path, or with a colon and no function.
std::optional<ModuleArgument> parse_module_argument(const std::string& text);

}  // namespace tools

#endif
