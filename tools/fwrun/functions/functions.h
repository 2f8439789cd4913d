// The general functions that scripts may call; docs/functions.md describes each.
#ifndef FWRUN_FUNCTIONS_FUNCTIONS_H
#define FWRUN_FUNCTIONS_FUNCTIONS_H

#include <functional>
#include <span>

#include <fwbase/iscript.h>

#include "functions/function.h"

namespace functions {

/// The functions by subject. The objects live until the process ends.
std::span<Function> arithmetic_functions();
std::span<Function> check_functions();
std::span<Function> input_functions();
std::span<Function> output_functions();
std::span<Function> text_functions();
std::span<Function> variable_functions();

/// Registers every function with `engine`, to be done before a script is loaded. `wrap` may put
/// an object of the host's own in front of each function: what it returns is registered instead,
/// and must live until the engine is released.
void register_functions(
    fwbase::IScript& engine,
    const std::function<fwbase::IScript::ISyntax*(fwbase::IScript::ISyntax&)>& wrap = {});

}  // namespace functions

#endif
