// Where a command finds the module libraries that it is told by name.
#ifndef TOOLS_MODULES_MODULE_PATH_H
#define TOOLS_MODULES_MODULE_PATH_H

#include <string>
#include <vector>

namespace tools {

/// What to hand to the module manager for a library that the user calls `name`.
///
/// A name with a directory is handed on as it is. One without is looked for beside the program,
/// then where the project's modules are installed; in each directory as lib<name>.so, <name>.so
/// and <name>. The path of the first regular file is given, or the name itself when there is none:
/// it is for the loader's search path then.
std::string module_path(const std::string& name);

/// The same with the directories to search.
std::string module_path(const std::string& name, const std::vector<std::string>& directories);

/// The directory of the running program, and that of the installed modules as seen from there, so
/// that an installation may be moved. Empty when the system does not tell where the program is.
std::vector<std::string> module_directories();

}  // namespace tools

#endif
