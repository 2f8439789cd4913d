// Script variables by type, through whatever engine the facade has installed.
#include <fwbase/ifwbase.h>
#include <fwbase/values.h>

#include "fwbase/cfwbase.h"

namespace fwbase {

namespace {

constexpr IScript::VType type_of(const std::int32_t&) { return IScript::VT_INT; }
constexpr IScript::VType type_of(const std::string&) { return IScript::VT_STRING; }

template <typename Value>
ec::EC read(const char* name, Value& value) {
  const IScript* const engine = IFWBase::instance()->script();
  return engine == nullptr ? ec::SCRIPT_E_PARAM : engine->get_value(name, type_of(value), &value);
}

template <typename Value>
ec::EC write(const char* name, const Value& value) {
  IScript* const engine = IFWBase::instance()->script();
  return engine == nullptr ? ec::SCRIPT_E_PARAM : engine->set_value(name, type_of(value), &value);
}

template <typename Value>
ec::EC read_env(void* env, const char* name, Value& value) {
  const IScript* const engine = IFWBase::instance()->script();
  return engine == nullptr || name == nullptr
             ? ec::SCRIPT_E_PARAM
             : engine->get_value_env(name, type_of(value), &value, env);
}

template <typename Value>
ec::EC write_env(void* env, const char* name, const Value& value) {
  IScript* const engine = IFWBase::instance()->script();
  return engine == nullptr || name == nullptr
             ? ec::SCRIPT_E_PARAM
             : engine->set_value_env(name, type_of(value), &value, env);
}

}  // namespace

ec::EC get(const char* name, std::int32_t& value) { return read(name, value); }
ec::EC get(const char* name, std::string& value) { return read(name, value); }

ec::EC set(const char* name, std::int32_t value) { return write(name, value); }
ec::EC set(const char* name, const std::string& value) { return write(name, value); }
ec::EC set(const char* name, const char* value) {
  return value == nullptr ? ec::SCRIPT_E_PARAM : write(name, std::string(value));
}

ec::EC get_env(void* env, const char* name, std::int32_t& value) {
  return read_env(env, name, value);
}
ec::EC get_env(void* env, const char* name, std::string& value) {
  return read_env(env, name, value);
}

ec::EC set_env(void* env, const char* name, std::int32_t value) {
  return write_env(env, name, value);
}
ec::EC set_env(void* env, const char* name, const std::string& value) {
  return write_env(env, name, value);
}
ec::EC set_env(void* env, const char* name, const char* value) {
  return value == nullptr ? ec::SCRIPT_E_PARAM : write_env(env, name, std::string(value));
}

ec::EC drop_environment(void* env) {
  auto* const facade = static_cast<CFWBase*>(IFWBase::instance());
  return facade->script() == nullptr ? ec::SCRIPT_E_PARAM
                                     : facade->built_in_script().drop_environment(env);
}

}  // namespace fwbase
