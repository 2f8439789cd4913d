#include "tests/tools/fwstd/documented_functions.h"

#include <fstream>
#include <stdexcept>

namespace fwstd::test {

namespace {

// The texts between the separators.
std::vector<std::string> parts(const std::string& text, const std::string& separator) {
  std::vector<std::string> all;
  std::size_t first = 0;
  for (std::size_t at = 0; (at = text.find(separator, first)) != text.npos;) {
    all.push_back(text.substr(first, at - first));
    first = at + separator.size();
  }
  all.push_back(text.substr(first));
  return all;
}

// tag: type, or tag: type = default, where a string's default stands in quotes.
DocumentedParameter parameter_of(const std::string& text) {
  const std::vector<std::string> halves = parts(text, " = ");
  const std::vector<std::string> names = parts(halves[0], ": ");
  if (names.size() != 2) {
    throw std::runtime_error("not a parameter: " + text);
  }
  DocumentedParameter parameter{names[0], names[1], {}};
  if (halves.size() == 2) {
    const bool is_string = names[1] == "string";
    parameter.default_value = is_string ? halves[1].substr(1, halves[1].size() - 2) : halves[1];
  }
  return parameter;
}

// Each stands in backquotes, so they are every other part.
std::vector<DocumentedParameter> parameters_of(const std::string& cell) {
  const std::vector<std::string> quoted = parts(cell, "`");
  std::vector<DocumentedParameter> parameters;
  for (std::size_t i = 1; i < quoted.size(); i += 2) {
    parameters.push_back(parameter_of(quoted[i]));
  }
  return parameters;
}

}  // namespace

std::vector<DocumentedFunction> documented_functions() {
  std::ifstream text(SOURCE_ROOT "/docs/functions.md");
  std::vector<DocumentedFunction> functions;
  for (std::string line; std::getline(text, line);) {
    const std::vector<std::string> cells = parts(line, "|");
    if (cells.size() > 3 && cells[1].rfind(" `", 0) == 0) {
      functions.push_back({cells[1].substr(2, cells[1].size() - 4),
                           cells[2].substr(1, cells[2].size() - 2), parameters_of(cells[3])});
    }
  }
  if (functions.empty()) {
    throw std::runtime_error("no table of functions in docs/functions.md");
  }
  return functions;
}

std::string documented_template() {
  std::string text = "<template>\n";
  for (const DocumentedFunction& function : documented_functions()) {
    text += "<Func name=\"" + function.name + "\">";
    for (const DocumentedParameter& parameter : function.parameters) {
      text += "<param tag=\"" + parameter.tag + "\" type=\"" + parameter.type + "\"";
      if (parameter.default_value) {
        text += " must=\"false\" defaultval=\"" + *parameter.default_value + "\"";
      }
      text += "/>";
    }
    text += "</Func>\n";
  }
  return text + "</template>\n";
}

}  // namespace fwstd::test
