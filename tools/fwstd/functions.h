// The general functions that scripts may call; docs/functions.md describes each.
#ifndef FWSTD_FUNCTIONS_H
#define FWSTD_FUNCTIONS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <fwbase/function.h>
#include <fwbase/iscript.h>

namespace fwstd {

using fwbase::Call;
using fwbase::Function;
using fwbase::Param;
using fwbase::param;

/// Logs why a call fails, as Call::fail() does, and returns `code`.
/// reason   UTF-8
ec::EC fail(const Call& call, ec::EC code, const std::string& reason);

/// The functions by subject. The objects live as long as this code is loaded.
std::span<Function> arithmetic_functions();
std::span<Function> check_functions();
std::span<Function> input_functions();
std::span<Function> output_functions();
std::span<Function> text_functions();
std::span<Function> variable_functions();

/// The functions of all subjects.
std::vector<Function*> all_functions();

/// Registers all functions with `engine`; call it before a script is loaded. Returns the first one
/// that the engine refuses, or null.
Function* register_functions(fwbase::IScript& engine);

}  // namespace fwstd

#endif
