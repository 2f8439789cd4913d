// Where commands find module libraries by name.
#ifndef TOOLS_MODULES_MODULE_PATH_H
#define TOOLS_MODULES_MODULE_PATH_H

#include <string>
#include <vector>

namespace tools {

/// The path of a module library that the user calls `name`, for the module manager.
///
/// A name with a directory is returned as it is. One without is looked for beside the program, then
/// where the project's modules are installed: in each directory as lib<name>.so, <name>.so and
/// <name>. The first regular file counts. When there is none, the name itself is returned, for the
/// loader's search path.
std::string module_path(const std::string& name);

/// The same with the directories to search.
std::string module_path(const std::string& name, const std::vector<std::string>& directories);

/// The directory of the running program, and that of the installed modules relative to it, so that
/// an installation may be moved. Empty when the program's place is unknown.
std::vector<std::string> module_directories();

}  // namespace tools

#endif
