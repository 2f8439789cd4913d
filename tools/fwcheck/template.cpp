// --print template: declarations that are ready for a script.
#include "printing.h"

namespace fwcheck {

namespace {

// A comment must not contain "--" or end in a hyphen.
std::string comment(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    shown += c == '-' && !shown.empty() && shown.back() == '-' ? " -" : std::string(1, c);
  }
  return "<!-- " + xml_value(shown) + " -->";
}

std::string param(const Parameter& parameter) {
  std::string text =
      "    <param tag=\"" + xml_value(parameter.tag) + "\" type=\"" + parameter.type() + "\"";
  if (parameter.default_value) {
    text += " must=\"false\" defaultval=\"" + xml_value(*parameter.default_value) + "\"";
  }
  return text + "/>\n";
}

std::string func(const Function& function) {
  std::string text =
      function.description.empty() ? "" : "  " + comment(function.description) + "\n";
  text += "  <Func name=\"" + xml_value(function.name) + "\"";
  if (function.parameters.empty()) {
    return text + "/>\n";
  }
  text += ">\n";
  for (const Parameter& parameter : function.parameters) {
    text += param(parameter);
  }
  return text + "  </Func>\n";
}

}  // namespace

std::string template_text(const std::vector<Function>& functions) {
  std::string text = "<template>\n";
  for (const Function& function : functions) {
    text += func(function);
  }
  return text + "</template>\n";
}

// Characters that XML does not allow become question marks.
std::string xml_value(const std::string& text) {
  std::string value;
  for (const char c : text) {
    switch (c) {
      case '&':
        value += "&amp;";
        break;
      case '<':
        value += "&lt;";
        break;
      case '>':
        value += "&gt;";
        break;
      case '"':
        value += "&quot;";
        break;
      case '\t':
        value += "&#9;";
        break;
      case '\n':
        value += "&#10;";
        break;
      case '\r':
        value += "&#13;";
        break;
      default:
        value += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    }
  }
  return value;
}

}  // namespace fwcheck
