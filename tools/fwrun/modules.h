// The modules that bring the functions of a script.
#ifndef FWRUN_MODULES_H
#define FWRUN_MODULES_H

#include <vector>

#include "error_log.h"
#include "options.h"

namespace fwrun {

/// Creates the module of the general functions, then `modules` in their order, through the module
/// manager. False at the first that cannot be created: which and why is on standard error then.
bool create_modules(const std::vector<tools::ModuleArgument>& modules, ErrorLog& errors);

}  // namespace fwrun

#endif
