// Creating, using and releasing the module of a library.
#ifndef FWMOD_EXERCISE_H
#define FWMOD_EXERCISE_H

#include <optional>
#include <string>

#include "loading.h"
#include "recorded_facade.h"

namespace fwmod {

/// Has the module manager create the module, and if it is a factory a product, and destroy them
/// again; then says what they left behind. What fails, is null or throws is a fault.
/// manager    the library's own, of which nothing is recorded
/// argument   for every init(); null without one
/// True when the facade's release() would run code that is gone by then, or code of the library
/// that still runs would go.
bool exercise(const Library& library, fwbase::IMM& manager,
              const std::optional<std::string>& argument, RecordedFacade& facade,
              Findings& findings);

}  // namespace fwmod

#endif
