// Why a call keeps a script from loading, and what its author can do.
#ifndef FWRUN_LOAD_REPORT_H
#define FWRUN_LOAD_REPORT_H

#include <string>

#include "call_watch.h"
#include "script_file.h"

namespace fwrun {

/// What is wrong with the first call that does not match its function, in the order of loading;
/// empty when all match.
std::string mismatch(const ScriptFile& script, const CallWatch& provided);

}  // namespace fwrun

#endif
