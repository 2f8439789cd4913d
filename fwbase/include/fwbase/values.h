// Script variables, each with its type: what the operations of IScript do with an address, without
// one that could be wrong.
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

// All of these use the script engine that the facade has installed; without one (before
// IFWBase::init() and after its release()) they give SCRIPT_E_PARAM and log nothing. Codes,
// records, locks and threads are those of the operation of IScript that each names.

/// Reads a global variable: IScript::get_value(). On failure `value` stays as it was.
FWBASE_NODISCARD FWBASE_API ec::EC get(const char* name, std::int32_t& value);
FWBASE_NODISCARD FWBASE_API ec::EC get(const char* name, std::string& value);

/// Creates a global variable, or replaces one together with its type: IScript::set_value().
FWBASE_NODISCARD FWBASE_API ec::EC set(const char* name, std::int32_t value);
FWBASE_NODISCARD FWBASE_API ec::EC set(const char* name, const std::string& value);
/// value   SCRIPT_E_PARAM when it is null
FWBASE_NODISCARD FWBASE_API ec::EC set(const char* name, const char* value);

/// Reads a variable of an environment: IScript::get_value_env(), and SCRIPT_E_PARAM when name is
/// null.
FWBASE_NODISCARD FWBASE_API ec::EC get_env(void* env, const char* name, std::int32_t& value);
FWBASE_NODISCARD FWBASE_API ec::EC get_env(void* env, const char* name, std::string& value);

/// Creates or replaces a variable of an environment: IScript::set_value_env(), and SCRIPT_E_PARAM
/// when name is null.
FWBASE_NODISCARD FWBASE_API ec::EC set_env(void* env, const char* name, std::int32_t value);
FWBASE_NODISCARD FWBASE_API ec::EC set_env(void* env, const char* name, const std::string& value);
/// value   SCRIPT_E_PARAM when it is null
FWBASE_NODISCARD FWBASE_API ec::EC set_env(void* env, const char* name, const char* value);

/// Frees the variables of an environment, so that a host whose sessions come and go keeps memory
/// for those that are there, and a session at the address of an earlier one begins without
/// variables. The environment itself is the host's, as ever, and may be used again.
///
/// Returns
///   SCRIPT_OK         dropped
///   SCRIPT_NOT_FOUND  it has no variables, which is not logged; nothing changed
///   SCRIPT_E_PARAM    the facade has no script engine
///
/// Any thread. A section that runs in the environment goes on: from then on its variables are
/// missing for it (logged, passed as 0 or ""), and what it sets begins the environment anew. So end
/// the session's runs first. Drops from the facade's built-in engine, whichever the host has
/// installed. Takes that engine's lock for writing, for a moment.
FWBASE_NODISCARD FWBASE_API ec::EC drop_environment(void* env);

// Numbers of other types would be cut, and true and nullptr are neither a number nor a text:
// convert them to what is meant.
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
