// One function for each kind of line.
#include "listing.h"

#include <algorithm>

#include "command_line/text.h"

namespace fwrun {

using tools::joined;
using tools::quoted;
using tools::shown_name;

namespace {

// The declared parameter, null for an argument that the engine ignores.
const Parameter* parameter(const Function* function, const std::string& tag) {
  if (function == nullptr) {
    return nullptr;
  }
  const auto found = std::find_if(function->parameters.begin(), function->parameters.end(),
                                  [&](const Parameter& one) { return one.tag == tag; });
  return found != function->parameters.end() ? &*found : nullptr;
}

std::string call_line(const ScriptFile& script, const ScriptCall& call) {
  const Function* const function = script.functions.find(call.function);
  std::vector<std::string> arguments;
  for (const Argument& argument : call.arguments) {
    const Parameter* const declared = parameter(function, argument.tag);
    if (declared != nullptr || function == nullptr) {
      arguments.push_back(
          shown_name(argument.tag) + "=" +
          (argument.is_variable
               ? "$" + shown_name(argument.text)
               : literal(declared != nullptr ? declared->type : "string", argument.text)));
    }
  }
  const std::string remark = function != nullptr ? "" : "  (no Func declares it)";
  return "    " + call_text(call.function, arguments, call.result) + remark + "\n";
}

}  // namespace

std::string literal(const std::string& type, const std::string& value) {
  return type == "int" ? tools::escaped(value) : quoted(value);
}

std::string call_text(const std::string& function, const std::vector<std::string>& arguments,
                      const std::string& result) {
  return shown_name(function) + "(" + joined(arguments) + ")" +
         (result.empty() ? "" : " -> " + shown_name(result));
}

std::string variable_line(const std::string& name, const std::string& type,
                          const std::string& value) {
  return "  " + shown_name(name) + ": " + shown_name(type) + " = " + literal(type, value) + "\n";
}

std::string function_line(const Function& function) {
  std::vector<std::string> parameters;
  for (const Parameter& one : function.parameters) {
    parameters.push_back(shown_name(one.tag) + ": " + shown_name(one.type) +
                         (one.default_value ? " = " + literal(one.type, *one.default_value) : ""));
  }
  return "  " + shown_name(function.name) + "(" + joined(parameters) + ")\n";
}

std::string listing(const ScriptFile& script) {
  std::string all = "sections:\n";
  for (const Section& section : script.sections) {
    all += "  " + shown_name(section.name) + "\n";
    for (const ScriptCall& call : section.calls) {
      all += call_line(script, call);
    }
  }
  all += "functions:\n";
  for (const Function& function : script.functions) {
    all += function_line(function);
  }
  all += "variables:\n";
  for (const Variable& variable : script.variables) {
    all += variable_line(variable.name, variable.type, variable.value);
  }
  if (!script.other_processes.empty()) {
    all += "passed over, since only a Process without a name is read:\n";
    for (const std::string& name : script.other_processes) {
      all += "  Process " + quoted(name) + "\n";
    }
  }
  return all;
}

}  // namespace fwrun
