// Typed access to script variables: what the operations of IScript do through an untyped address.
//
//   fwbase::set("limit", 80);
//   std::string title;
//   if (ec::succeeded(fwbase::get("title", title))) { ... }
#ifndef FWBASE_VALUES_H
#define FWBASE_VALUES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

// All functions but drop_environment() use the script engine that is installed in the facade.
// Without an engine (before IFWBase::init() and after IFWBase::release()) they give SCRIPT_E_PARAM
// and log nothing. Codes, records, locks and thread safety are those of the operation of IScript
// that each function names.

/// Reads a global variable: IScript::get_value(). On failure `value` stays as it was.
FWBASE_NODISCARD FWBASE_API ec::EC get(const char* name, std::int32_t& value);
/// The same for a string.
FWBASE_NODISCARD FWBASE_API ec::EC get(const char* name, std::string& value);

/// Creates a global variable, or replaces one together with its type: IScript::set_value().
FWBASE_NODISCARD FWBASE_API ec::EC set(const char* name, std::int32_t value);
/// The same for a string.
FWBASE_NODISCARD FWBASE_API ec::EC set(const char* name, const std::string& value);
/// The same for a string.
/// value   SCRIPT_E_PARAM when it is null
FWBASE_NODISCARD FWBASE_API ec::EC set(const char* name, const char* value);

/// Reads a variable of an environment: IScript::get_value_env(), and SCRIPT_E_PARAM when name is
/// null.
FWBASE_NODISCARD FWBASE_API ec::EC get_env(void* env, const char* name, std::int32_t& value);
/// The same for a string.
FWBASE_NODISCARD FWBASE_API ec::EC get_env(void* env, const char* name, std::string& value);

/// Creates or replaces a variable of an environment: IScript::set_value_env(), and SCRIPT_E_PARAM
/// when name is null.
FWBASE_NODISCARD FWBASE_API ec::EC set_env(void* env, const char* name, std::int32_t value);
/// The same for a string.
FWBASE_NODISCARD FWBASE_API ec::EC set_env(void* env, const char* name, const std::string& value);
/// The same for a string.
/// value   SCRIPT_E_PARAM when it is null
FWBASE_NODISCARD FWBASE_API ec::EC set_env(void* env, const char* name, const char* value);

/// Frees the variables of an environment. So a host whose sessions come and go needs memory only
/// for present sessions, and a session at the address of an earlier one begins without variables.
/// The environment itself stays the host's and may be used again.
///
/// Returns
///   SCRIPT_OK         dropped
///   SCRIPT_NOT_FOUND  the environment has no variables, which is not logged; nothing changed
///   SCRIPT_E_PARAM    the facade has no script engine
///
/// Any thread. A section that runs in the environment continues: the dropped variables are then
/// missing (logged, passed as 0 or ""), and variables that it sets begin the environment anew. So
/// end the session's runs first. Drops from the facade's built-in engine, whichever engine the host
/// has installed. Takes the built-in engine's lock for writing, for a moment.
FWBASE_NODISCARD FWBASE_API ec::EC drop_environment(void* env);

// Numbers of other types could be cut, and true and nullptr are neither a number nor a text:
// convert the value to the type that is meant.
template <typename Value>
typename std::enable_if<
    std::is_arithmetic<Value>::value || std::is_same<Value, std::nullptr_t>::value, ec::EC>::type
set(const char* name, Value value) = delete;
template <typename Value>
typename std::enable_if<
    std::is_arithmetic<Value>::value || std::is_same<Value, std::nullptr_t>::value, ec::EC>::type
set_env(void* env, const char* name, Value value) = delete;

}  // namespace fwbase

#endif
