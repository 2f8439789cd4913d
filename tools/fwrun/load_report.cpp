#include "load_report.h"

#include "support/text.h"

namespace fwrun {

using tools::joined;

namespace {

using fwbase::IScript;

std::string signature(const std::vector<std::string>& types) { return "(" + joined(types) + ")"; }

std::string declared_signature(const Function& function) {
  std::vector<std::string> types;
  for (const Parameter& parameter : function.parameters) {
    types.push_back(parameter.type);
  }
  return signature(types);
}

std::string provided_signature(IScript::ISyntax& function) {
  std::vector<std::string> types;
  for (int i = 0; i < function.param_count(); ++i) {
    types.emplace_back(function.param_types()[i] == IScript::VT_INT ? "int" : "string");
  }
  return signature(types);
}

std::string call_mismatch(const ScriptFile& script, const CallWatch& provided,
                          const std::string& name) {
  const Function* const declared = script.functions.find(name);
  if (declared == nullptr) {
    return "which no Func in the script declares";
  }
  IScript::ISyntax* const function = provided.find(name);
  if (function == nullptr) {
    return "which no module provides; --module names one that does, --mock " + name +
           " stands in for it";
  }
  if (declared_signature(*declared) != provided_signature(*function)) {
    return "whose Func declares " + declared_signature(*declared) + " where " +
           provided_signature(*function) + " is needed";
  }
  return "";
}

}  // namespace

std::string mismatch(const ScriptFile& script, const CallWatch& provided) {
  for (const Section& section : script.sections) {
    for (const ScriptCall& call : section.calls) {
      const std::string what = call_mismatch(script, provided, call.function);
      if (!what.empty()) {
        return "section '" + section.name + "' calls '" + call.function + "', " + what;
      }
    }
  }
  return "";
}

}  // namespace fwrun
