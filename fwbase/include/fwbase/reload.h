// Replacing the script of a host that goes on running.
#ifndef FWBASE_RELOAD_H
#define FWBASE_RELOAD_H

#include <vector>

#include <fwbase/check.h>
#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// Puts a script file in the place of everything that files have brought to the facade's built-in
/// engine. The file is read and checked first; it takes effect in one step.
/// path      the file, which save_script() writes from then on
/// findings  receives all that is wrong with the file, as check_script() tells it, after a success
///           the warnings; emptied first. May be null. The caller's.
///
/// What changes, and what does not:
///   sections and declarations   those of the file; none of an earlier file stays. A section that
///                               runs finishes as it began; runs that begin from now on, nested
///                               ones included, find the new ones.
///   registered functions        stay
///   global variables            One that the file has keeps its value if its type stays; otherwise
///                               it has that of the file. One that an earlier file has brought and
///                               this one has not goes, whoever has set it since. One that no file
///                               has brought stays.
///   variables of environments   stay
/// With nothing loaded it loads the file.
///
/// Returns SCRIPT_OK, or why loading into an engine without scripts would fail: the codes of
/// IScript::load_script(), with its ERROR record. After a failure everything is as it was.
/// SCRIPT_NO_MEMORY gives no findings. Before IFWBase::init() and after its release(), the code is
/// SCRIPT_E_LOAD.
///
/// Any thread, host functions included. Reading takes the engine's lock for a moment, shared with
/// others; the step takes it for writing, in time that grows with the number of variables. Where
/// functions are registered meanwhile, the file is read again.
FWBASE_NODISCARD FWBASE_API ec::EC reload_script(const char* path,
                                                 std::vector<Finding>* findings = nullptr);

}  // namespace fwbase

#endif
