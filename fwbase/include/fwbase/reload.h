// Replaces the script of a running host.
#ifndef FWBASE_RELOAD_H
#define FWBASE_RELOAD_H

#include <vector>

#include <fwbase/check.h>
#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// Replaces everything that the facade's built-in engine has from files with the content of one
/// script file. The file is read and checked first, and takes effect in one step.
/// path      the file; save_script() writes it from then on
/// findings  receives all findings about the file, as check_script() reports them; after a success,
///           the warnings. Emptied first. May be null. Stays the caller's.
///
/// What changes, and what does not:
///   sections and declarations   those of the file; none of an earlier file stays. A running
///                               section finishes as it began; runs that begin from now on,
///                               including nested runs, find the new sections.
///   registered functions        stay
///   global variables            A variable of the file keeps its present value if it has one of
///                               the same type; otherwise it gets the file's value. A variable that
///                               came from an earlier file and is not in this one is removed,
///                               whoever has set it since. A variable that came from no file stays.
///   variables of environments   stay
/// When nothing is loaded, the file is loaded.
///
/// Returns SCRIPT_OK, or why loading into an engine without scripts would fail: the codes of
/// IScript::load_script(), with its ERROR record. A failure changes nothing. SCRIPT_NO_MEMORY gives
/// no findings. Before IFWBase::init() and after its release(), the code is SCRIPT_E_LOAD.
///
/// Any thread, host functions included. Reading the file takes the engine's lock for reading, for a
/// moment. The replacement takes the lock for writing, for a time that grows with the number of
/// variables. When functions are registered meanwhile, the file is read again.
FWBASE_NODISCARD FWBASE_API ec::EC reload_script(const char* path,
                                                 std::vector<Finding>* findings = nullptr);

}  // namespace fwbase

#endif
