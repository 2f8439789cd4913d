// Setting variables, and copying them within the environment and between it and the global table.
//
// A "ref" argument of a variable that does not exist passes 0 or an empty text. The functions here
// that take the name of a variable fail instead, so that a misspelt name is found.
#include <fwbase/ifwbase.h>

#include "fwstd/functions.h"

namespace fwstd {

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

IScript& engine() { return *IFWBase::instance()->script(); }

template <typename Value>
constexpr IScript::VType kType = IScript::VT_INT;
template <>
constexpr IScript::VType kType<std::string> = IScript::VT_STRING;

template <typename Value>
const char* type_name() {
  return kType<Value> == IScript::VT_INT ? "int" : "string";
}

// Says why the variable `name` of the table called `table` could not be read.
template <typename Value>
ec::EC unreadable(const Call& call, ec::EC code, const char* table, const std::string& name) {
  const std::string variable = std::string(table) + " variable '" + name + "'";
  return call.fail(code, code == ec::SCRIPT_BAD_PARAM
                             ? variable + " is not of type " + type_name<Value>()
                             : "there is no " + variable);
}

ec::EC set_int(const Call& call) { return call.give(call.number(0)); }
ec::EC set_string(const Call& call) { return call.give(std::string(call.text(0))); }

template <typename Value>
ec::EC copy(const Call& call) {
  const char* const from = call.text(0);
  Value value{};
  const ec::EC found = engine().get_value_env(from, kType<Value>, &value, call.env());
  return ec::failed(found) ? unreadable<Value>(call, found, "environment", from) : call.give(value);
}

template <typename Value>
ec::EC load(const Call& call) {
  const char* const from = call.text(0);
  Value value{};
  const ec::EC found = engine().get_value(from, kType<Value>, &value);
  return ec::failed(found) ? unreadable<Value>(call, found, "global", from) : call.give(value);
}

template <typename Value>
ec::EC save(const Call& call) {
  const std::string from = call.text(0);
  const std::string to = *call.text(1) != '\0' ? call.text(1) : from;
  Value value{};
  const ec::EC found = engine().get_value_env(from.c_str(), kType<Value>, &value, call.env());
  if (ec::failed(found)) {
    return unreadable<Value>(call, found, "environment", from);
  }
  return engine().set_value(to.c_str(), kType<Value>, &value);
}

ec::EC remove_global(const Call& call) {
  const ec::EC removed = engine().rm_value(call.text(0));
  return ec::failed(removed) ? unreadable<std::string>(call, removed, "global", call.text(0))
                             : removed;
}

}  // namespace

std::span<Function> variable_functions() {
  static Function functions[] = {
      {"set_int", {IScript::VT_INT}, set_int},
      {"set_string", {IScript::VT_STRING}, set_string},
      {"copy_int", {IScript::VT_STRING}, copy<std::int32_t>},
      {"copy_string", {IScript::VT_STRING}, copy<std::string>},
      {"load_int", {IScript::VT_STRING}, load<std::int32_t>},
      {"load_string", {IScript::VT_STRING}, load<std::string>},
      {"save_int", {IScript::VT_STRING, IScript::VT_STRING}, save<std::int32_t>},
      {"save_string", {IScript::VT_STRING, IScript::VT_STRING}, save<std::string>},
      {"remove_global", {IScript::VT_STRING}, remove_global},
  };
  return functions;
}

}  // namespace fwstd
