// --print: the variables after the run.
#ifndef FWRUN_PRINTING_H
#define FWRUN_PRINTING_H

#include <set>
#include <string>

#include "options.h"
#include "script_file.h"

namespace fwrun {

/// The global variables and those of `environment`, in the order of their names. The engine cannot
/// list its variables: each name that the script or the command line mentions is looked up.
std::string variables_text(const ScriptFile& script, const Options& options, void* environment);

/// Every string of the script: each may be the name of a variable.
std::set<std::string> names_in(const ScriptFile& script);

}  // namespace fwrun

#endif
