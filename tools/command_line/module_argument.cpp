// Takes PATH[:FUNCTION][=ARGUMENT] apart from its ends: the path in the middle may hold anything.
#include "command_line/module_argument.h"

namespace tools {

std::optional<ModuleArgument> parse_module_argument(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::string left = text.substr(0, equals);
  const std::size_t file = left.rfind('/') + 1;  // 0 without a directory
  const std::size_t colon = left.rfind(':');
  const bool has_function = colon != left.npos && colon >= file;

  ModuleArgument module;
  module.path = has_function ? left.substr(0, colon) : left;
  if (has_function) {
    module.function = left.substr(colon + 1);
  }
  if (equals != text.npos) {
    module.argument = text.substr(equals + 1);
  }
  if (module.path.empty() || module.function.empty()) {
    return {};
  }
  return module;
}

}  // namespace tools
