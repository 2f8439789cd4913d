#include "tests/tools/fwrun/functions/documented_functions.h"

#include <fstream>
#include <regex>
#include <stdexcept>

namespace functions::test {

namespace {

// `tag: type` or `tag: type = default`, where a string's default stands in quotes.
std::vector<DocumentedParameter> parameters_of(const std::string& cell) {
  static const std::regex pattern("`(\\w+): (int|string)(?: = \"?([^\"`]*)\"?)?`");
  std::vector<DocumentedParameter> parameters;
  for (std::sregex_iterator at(cell.begin(), cell.end(), pattern), end; at != end; ++at) {
    const std::smatch& match = *at;
    parameters.push_back({match[1], match[2], {}});
    if (match[3].matched) {
      parameters.back().default_value = match[3];
    }
  }
  return parameters;
}

}  // namespace

std::vector<DocumentedFunction> documented_functions() {
  std::ifstream text(SOURCE_ROOT "/docs/functions.md");
  const std::regex row("\\| `(\\w+)` \\| ([^|]*) \\| ([^|]*) \\|.*\\|");
  std::vector<DocumentedFunction> functions;
  for (std::string line; std::getline(text, line);) {
    std::smatch match;
    if (std::regex_match(line, match, row)) {
      functions.push_back({match[1], parameters_of(match[2]), match[3]});
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

}  // namespace functions::test
