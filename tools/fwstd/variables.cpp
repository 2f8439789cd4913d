// Sets variables, and copies them within the environment, and between it and the global table.
//
// For a variable that does not exist, a "ref" argument passes 0 or an empty text. Functions here
// that take a variable's name fail instead, so that misspelt names are found.
#include <fwbase/ifwbase.h>
#include <fwbase/values.h>

#include "fwstd/functions.h"

namespace fwstd {

namespace {

template <typename Value>
constexpr const char* kTypeName = "int";
template <>
constexpr const char* kTypeName<std::string> = "string";

// Fails with the reason why the variable `name` in `table` could not be read.
template <typename Value>
ec::EC unreadable(const Call& call, ec::EC code, const char* table, const std::string& name) {
  const std::string variable = std::string(table) + " variable '" + name + "'";
  return fail(call, code,
              code == ec::SCRIPT_BAD_PARAM ? variable + " is not of type " + kTypeName<Value>
                                           : "there is no " + variable);
}

std::int32_t set_int(std::int32_t value) { return value; }
const char* set_string(const char* value) { return value; }

template <typename Value>
ec::EC copy(const Call& call, const char* from) {
  Value value{};
  const ec::EC found = fwbase::get_env(call.env(), from, value);
  return ec::failed(found) ? unreadable<Value>(call, found, "environment", from) : call.give(value);
}

template <typename Value>
ec::EC load(const Call& call, const char* from) {
  Value value{};
  const ec::EC found = fwbase::get(from, value);
  return ec::failed(found) ? unreadable<Value>(call, found, "global", from) : call.give(value);
}

template <typename Value>
ec::EC save(const Call& call, const char* from, const char* to) {
  Value value{};
  const ec::EC found = fwbase::get_env(call.env(), from, value);
  if (ec::failed(found)) {
    return unreadable<Value>(call, found, "environment", from);
  }
  return fwbase::set(*to != '\0' ? to : from, value);
}

ec::EC remove_global(const Call& call, const char* name) {
  const ec::EC removed = fwbase::IFWBase::instance()->script()->rm_value(name);
  return ec::failed(removed) ? unreadable<std::string>(call, removed, "global", name) : removed;
}

Param from() { return param("from", "the variable's name"); }
Param to() {
  return param("to", "the global variable's name; that of the other when empty").or_else("");
}

}  // namespace

std::span<Function> variable_functions() {
  static Function functions[] = {
      {"set_int", "Gives a number.", {param("value")}, set_int},
      {"set_string", "Gives a text.", {param("value")}, set_string},
      {"copy_int", "Reads an int variable of the environment.", {from()}, copy<std::int32_t>},
      {"copy_string", "Reads a string variable of the environment.", {from()}, copy<std::string>},
      {"load_int", "Reads a global int variable.", {from()}, load<std::int32_t>},
      {"load_string", "Reads a global string variable.", {from()}, load<std::string>},
      {"save_int",
       "Makes an int variable of the environment a global one.",
       {from(), to()},
       save<std::int32_t>},
      {"save_string",
       "Makes a string variable of the environment a global one.",
       {from(), to()},
       save<std::string>},
      {"remove_global", "Removes a global variable.", {param("name")}, remove_global},
  };
  return functions;
}

}  // namespace fwstd
