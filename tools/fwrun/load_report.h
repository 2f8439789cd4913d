// Why a script cannot be loaded, in words that its author can act on.
#ifndef FWRUN_LOAD_REPORT_H
#define FWRUN_LOAD_REPORT_H

#include <string>

#include "call_watch.h"
#include "script_file.h"

namespace fwrun {

/// What is wrong with the first call that does not match its function, as the loading of the
/// script finds it; empty when all match.
std::string mismatch(const ScriptFile& script, const CallWatch& provided);

}  // namespace fwrun

#endif
