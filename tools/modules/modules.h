// The library's service in a command, and the modules that bring the functions of scripts.
#ifndef TOOLS_MODULES_MODULES_H
#define TOOLS_MODULES_MODULES_H

#include <string>
#include <vector>

#include "command_line/error_log.h"
#include "command_line/module_argument.h"

namespace tools {

/// Puts the library into service. When that fails, complains and returns false.
bool start_library();

/// Takes the library out of service at the end of the scope, and with it all modules.
class Library {
 public:
  Library() = default;
  ~Library() { release(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// Does so now. Complains when a module throws, releases the others all the same, and then
  /// returns false.
  bool release();
};

/// The module of the general functions, for create_modules().
extern const ModuleArgument kGeneralFunctions;

/// Creates the modules in their order, through the module manager. Complains about the first that
/// cannot be created, and returns false.
bool create_modules(const std::vector<ModuleArgument>& modules, ErrorLog& errors);

/// Complains about what failed with `code`, and lists the errors that were logged.
void report_failure(const std::string& what, ec::EC code, ErrorLog& errors);

/// The same in a catch block, about what failed with this exception.
void report_exception(const std::string& what, ErrorLog& errors);

}  // namespace tools

#endif
