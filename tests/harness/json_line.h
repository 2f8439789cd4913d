// A JSON object on one line whose values are strings, whole numbers and true: strict, and nothing
// else is taken.
#ifndef FWBASE_TESTS_HARNESS_JSON_LINE_H
#define FWBASE_TESTS_HARNESS_JSON_LINE_H

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fwbase::test {

/// Names and values in their order; strings without their quotes and escapes.
typedef std::vector<std::pair<std::string, std::string>> JsonLine;

namespace json {

inline bool take(std::string_view& text, std::string_view begin) {
  if (!text.starts_with(begin)) {
    return false;
  }
  text.remove_prefix(begin.size());
  return true;
}

inline void append_utf8(unsigned long character, std::string& out) {
  if (character < 0x80) {
    out += static_cast<char>(character);
  } else if (character < 0x800) {
    out += static_cast<char>(0xC0 | (character >> 6));
    out += static_cast<char>(0x80 | (character & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (character >> 12));
    out += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (character & 0x3F));
  }
}

inline bool take_escape(std::string_view& text, std::string& out) {
  constexpr std::string_view kLetters = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  if (take(text, "u")) {
    const std::string digits(text.substr(0, 4));
    if (digits.size() < 4 || digits.find_first_not_of("0123456789abcdefABCDEF") != digits.npos) {
      return false;
    }
    append_utf8(std::strtoul(digits.c_str(), nullptr, 16), out);
    text.remove_prefix(4);
    return true;
  }
  const std::size_t letter = text.empty() ? kLetters.npos : kLetters.find(text[0]);
  if (letter == kLetters.npos) {
    return false;
  }
  out += kMeanings[letter];
  text.remove_prefix(1);
  return true;
}

inline bool take_string(std::string_view& text, std::string& out) {
  if (!take(text, "\"")) {
    return false;
  }
  while (!text.empty() && text[0] != '"') {
    if (take(text, "\\")) {
      if (!take_escape(text, out)) {
        return false;
      }
    } else if (static_cast<unsigned char>(text[0]) < 0x20) {
      return false;
    } else {
      out += text[0];
      text.remove_prefix(1);
    }
  }
  return take(text, "\"");
}

inline bool take_value(std::string_view& text, std::string& out) {
  if (text.starts_with('"')) {
    return take_string(text, out);
  }
  if (take(text, "true")) {
    out = "true";
    return true;
  }
  const std::size_t digits = text.find_first_not_of("0123456789");
  out = text.substr(0, digits);
  text.remove_prefix(out.size());
  return !out.empty() && (out == "0" || out[0] != '0');
}

}  // namespace json

/// None when it is not such an object.
inline std::optional<JsonLine> parse_json_line(std::string_view text) {
  JsonLine line;
  std::string_view separator = "{";
  while (!text.starts_with('}')) {
    std::string name;
    std::string value;
    if (!json::take(text, separator) || !json::take_string(text, name) || !json::take(text, ":") ||
        !json::take_value(text, value)) {
      return {};
    }
    line.emplace_back(std::move(name), std::move(value));
    separator = ",";
  }
  return text == "}" ? std::optional(line) : std::nullopt;
}

}  // namespace fwbase::test

#endif
