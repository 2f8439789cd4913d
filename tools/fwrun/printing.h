// --print: the variables at the end.
#ifndef FWRUN_PRINTING_H
#define FWRUN_PRINTING_H

#include <set>
#include <string>

#include "options.h"
#include "script_file.h"

namespace fwrun {

/// The global variables and those of `environment`, sorted by name. The engine cannot list its
/// variables, so each name that the script or the command line mentions is looked up.
std::string variables_text(const ScriptFile& script, const Options& options, void* environment);

/// Every string in the script that may be the name of a variable.
std::set<std::string> names_in(const ScriptFile& script);

}  // namespace fwrun

#endif
