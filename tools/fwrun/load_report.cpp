// Compares calls, declarations and functions in the order in which loading does.
#include "load_report.h"

#include "command_line/messages.h"
#include "command_line/text.h"

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

// Empty where the call matches.
std::string call_mismatch(const Section& section, const ScriptCall& call, const ScriptFile& script,
                          const CallWatch& provided) {
  const std::string& name = call.function;
  const Function* const declared = script.functions.find(name);
  if (declared == nullptr) {
    return tools::in_users_language(
        {"section '{1}' calls '{2}', which no Func in the script declares; fwcheck --print "
         "template has those of the modules",
         "节“{1}”调用“{2}”，脚本中没有 Func 声明它；fwcheck --print template 列出各模块的声明"},
        {section.name, name});
  }
  IScript::ISyntax* const function = provided.find(name);
  if (function == nullptr) {
    return tools::in_users_language(
        {"section '{1}' calls '{2}', which no module provides; --module names one that does, "
         "--mock {2} stands in for it",
         "节“{1}”调用“{2}”，没有模块提供它；用 --module 指定提供它的模块，或用 --mock {2} 代替它"},
        {section.name, name});
  }
  const std::string written = declared_signature(*declared);
  const std::string needed = provided_signature(*function);
  return written == needed
             ? ""
             : tools::in_users_language(
                   {"section '{1}' calls '{2}', whose Func declares {3} where {4} is needed",
                    "节“{1}”调用“{2}”，它的 Func 声明了 {3}，而需要的是 {4}"},
                   {section.name, name, written, needed});
}

}  // namespace

std::string mismatch(const ScriptFile& script, const CallWatch& provided) {
  for (const Section& section : script.sections) {
    for (const ScriptCall& call : section.calls) {
      const std::string what = call_mismatch(section, call, script, provided);
      if (!what.empty()) {
        return what;
      }
    }
  }
  return "";
}

}  // namespace fwrun
