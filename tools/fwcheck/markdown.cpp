// --print markdown: texts are escaped, so that a cell shows them as they are.
#include "printing.h"

namespace fwcheck {

namespace {

// Text for a cell of a table.
std::string cell(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    if (c == '|' || c == '\\' || c == '`' || c == '*' || c == '_' || c == '<' || c == '&') {
      shown += '\\';
    }
    shown += c == '\n' || c == '\r' ? ' ' : c;
  }
  return shown;
}

// Code for a cell. Backquotes would end the code, and a bar the cell.
std::string code(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    shown += c == '`' ? "'" : c == '|' ? "\\|" : c == '\n' || c == '\r' ? " " : std::string(1, c);
  }
  return shown.empty() ? "" : "`" + shown + "`";
}

std::string row(const Parameter& parameter) {
  const std::string left_out = !parameter.default_value ? "required"
                               : parameter.is_int       ? code(*parameter.default_value)
                                                  : code("\"" + *parameter.default_value + "\"");
  return "| " + code(parameter.tag) + " | " + parameter.type() + " | " + left_out + " | " +
         cell(parameter.description) + " |\n";
}

std::string section(const Function& function) {
  std::string text = "\n## " + code(function.name) + "\n\n";
  if (!function.description.empty()) {
    text += cell(function.description) + "\n\n";
  }
  text += function.parameters.empty()
              ? "It has no parameters.\n"
              : "| parameter | type | default | description |\n|---|---|---|---|\n";
  for (const Parameter& parameter : function.parameters) {
    text += row(parameter);
  }
  if (!function.module.empty()) {
    text += "\nFrom " + code(function.module) + ".\n";
  }
  return text;
}

}  // namespace

std::string markdown_text(const std::vector<Function>& functions) {
  std::string text = "# Functions for scripts\n";
  for (const Function& function : functions) {
    text += section(function);
  }
  return text;
}

}  // namespace fwcheck
