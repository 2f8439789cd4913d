// Looks up each name in both tables of variables, as an int and as a string.
#include "printing.h"

#include <fwbase/ifwbase.h>

#include "listing.h"

namespace fwrun {

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::IScript;

typedef std::set<std::string> Names;

// Here it is no error that a name does not exist, or has the other type.
class Silence {
 public:
  Silence() : m_levels(IRunLog::ms_type_sign.exchange(0)) {}
  ~Silence() { IRunLog::ms_type_sign = m_levels; }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  unsigned int m_levels;
};

Names mentioned(const ScriptFile& script, const Options& options) {
  Names names = names_in(script);
  for (const Assignment& one : options.globals) {
    names.insert(one.name);
  }
  for (const Assignment& one : options.environment) {
    names.insert(one.name);
  }
  return names;
}

// `get` reads a variable as get_value() and get_value_env() do.
template <typename Get>
std::string lines(const Names& names, Get get) {
  std::string all;
  for (const std::string& name : names) {
    std::int32_t number = 0;
    std::string text;
    if (ec::succeeded(get(name.c_str(), IScript::VT_INT, &number))) {
      all += variable_line(name, "int", std::to_string(number));
    } else if (ec::succeeded(get(name.c_str(), IScript::VT_STRING, &text))) {
      all += variable_line(name, "string", text);
    }
  }
  return all;
}

}  // namespace

// Functions take names as arguments.
std::set<std::string> names_in(const ScriptFile& script) {
  Names names;
  for (const Variable& variable : script.variables) {
    names.insert(variable.name);
  }
  for (const Function& function : script.functions) {
    for (const Parameter& parameter : function.parameters) {
      names.insert(parameter.default_value.value_or(""));
    }
  }
  for (const Section& section : script.sections) {
    for (const ScriptCall& call : section.calls) {
      names.insert(call.result);
      for (const Argument& argument : call.arguments) {
        names.insert(argument.text);
      }
    }
  }
  return names;
}

std::string variables_text(const ScriptFile& script, const Options& options, void* environment) {
  const Silence silence;
  const Names names = mentioned(script, options);
  const IScript& engine = *IFWBase::instance()->script();
  return "global variables:\n" +
         lines(names, [&](const char* name, IScript::VType type,
                          void* out) { return engine.get_value(name, type, out); }) +
         "variables of the environment:\n" +
         lines(names, [&](const char* name, IScript::VType type, void* out) {
           return engine.get_value_env(name, type, out, environment);
         });
}

}  // namespace fwrun
