// Creates, uses and releases the module of a library.
#ifndef FWMOD_EXERCISE_H
#define FWMOD_EXERCISE_H

#include <optional>
#include <string>

#include "loading.h"
#include "recorded_facade.h"

namespace fwmod {

/// Has the module manager create the module, and a product if it is a factory, and destroy both.
/// Then lists what they left behind. A failure, a null result or an exception is a fault.
/// Returns whether unloading the library would take away code that still runs or that the
/// facade's release() needs.
///
/// manager    the real module manager, which records nothing
/// argument   every init() gets it; without an argument every init() gets null
bool exercise(const Library& library, fwbase::IMM& manager,
              const std::optional<std::string>& argument, RecordedFacade& facade,
              Findings& findings);

}  // namespace fwmod

#endif
