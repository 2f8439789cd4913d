// The general functions that scripts may call; docs/functions.md describes each.
#ifndef FWSTD_FUNCTIONS_H
#define FWSTD_FUNCTIONS_H

#include <span>
#include <vector>

#include <fwbase/iscript.h>

#include "fwstd/function.h"

namespace fwstd {

/// The functions by subject. The objects live as long as this code is loaded.
std::span<Function> arithmetic_functions();
std::span<Function> check_functions();
std::span<Function> input_functions();
std::span<Function> output_functions();
std::span<Function> text_functions();
std::span<Function> variable_functions();

/// Those of all subjects.
std::vector<Function*> all_functions();

/// Registers every function with `engine`, to be done before a script is loaded. Gives the first
/// one that the engine refuses, null when it takes them all.
Function* register_functions(fwbase::IScript& engine);

}  // namespace fwstd

#endif
