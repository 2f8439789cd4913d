// Texts: joining, conversion, and picking values out of them.
#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "fwstd/functions.h"

namespace fwstd {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

std::string concat(const std::string& a, const std::string& b, const std::string& c,
                   const std::string& d) {
  return a + b + c + d;
}

// Replaces {1}, {2} and {3} by the arguments after the pattern. Loading trims blanks around
// arguments, but not those inside a pattern.
std::string format(const std::string& pattern, const std::string& first, const std::string& second,
                   const std::string& third) {
  const std::string* const texts[] = {&first, &second, &third};
  std::string text;
  for (std::size_t at = 0; at < pattern.size();) {
    const std::string_view place = std::string_view(pattern).substr(at, 3);
    if (place == "{1}" || place == "{2}" || place == "{3}") {
      text += *texts[place[1] - '1'];
      at += place.size();
    } else {
      text += pattern[at++];
    }
  }
  return text;
}

std::string int_to_string(std::int32_t value) { return std::to_string(value); }

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == text.npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

ec::EC string_to_int(const Call& call, const char* argument, std::int32_t unit) {
  const std::string_view text = trimmed(argument);
  if (unit < 1) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "the unit is %d, not 1 or more", unit);
  }
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
    return fail(call, ec::SCRIPT_BAD_PARAM, "'" + std::string(text) + "' is not a whole number");
  }
  const std::int64_t result = number / unit;
  if (error != std::errc() || result < std::numeric_limits<std::int32_t>::min() ||
      result > std::numeric_limits<std::int32_t>::max()) {
    return fail(call, ec::SCRIPT_BAD_PARAM, "'" + std::string(text) + "' does not fit in 32 bits");
  }
  return call.give(static_cast<std::int32_t>(result));
}

// The n-th of the words that blanks separate, null when there are fewer.
std::string_view nth_word(std::string_view text, std::int32_t n) {
  std::size_t first = text.find_first_not_of(kBlanks);
  while (first != text.npos) {
    const std::size_t last = std::min(text.find_first_of(kBlanks, first), text.size());
    if (--n == 0) {
      return text.substr(first, last - first);
    }
    first = text.find_first_not_of(kBlanks, last);
  }
  return {};
}

// The n-th of the parts, possibly empty, that a separator separates, null when there are fewer.
std::string_view nth_part(std::string_view text, std::int32_t n, std::string_view separator) {
  std::size_t first = 0;
  for (;;) {
    const std::size_t last = text.find(separator, first);
    if (--n == 0) {
      return text.substr(first, last - first);
    }
    if (last == text.npos) {
      return {};
    }
    first = last + separator.size();
  }
}

ec::EC field(const Call& call, const std::string& text, std::int32_t number,
             const std::string& separator) {
  if (number < 1) {
    return call.fail(ec::SCRIPT_BAD_PARAM,
                     "fields are counted from 1, there is none with number %d", number);
  }
  const std::string_view found =
      separator.empty() ? nth_word(text, number) : nth_part(text, number, separator);
  if (found.data() == nullptr) {
    return fail(call, ec::SCRIPT_NOT_FOUND,
                "there is no field " + std::to_string(number) + " in '" + text + "'");
  }
  return call.give(std::string(found));
}

// The end of the first `key` that starts a word.
std::size_t behind_key(std::string_view text, std::string_view key) {
  std::size_t at = text.find(key);
  while (at != text.npos && at != 0 && kBlanks.find(text[at - 1]) == kBlanks.npos) {
    at = text.find(key, at + 1);
  }
  return at == text.npos ? at : at + key.size();
}

ec::EC value_after(const Call& call, const char* argument, const std::string& key) {
  const std::string_view text = argument;
  if (key.empty()) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "the key is empty");
  }
  const std::size_t behind = behind_key(text, key);
  if (behind == text.npos) {
    return fail(call, ec::SCRIPT_NOT_FOUND, "the text has no key '" + key + "'");
  }
  const std::string_view line = text.substr(behind, text.find('\n', behind) - behind);
  const std::string_view value = nth_word(line, 1);
  if (value.data() == nullptr) {
    return fail(call, ec::SCRIPT_NOT_FOUND, "no value follows the key '" + key + "' in its line");
  }
  return call.give(std::string(value));
}

}  // namespace

std::span<Function> text_functions() {
  static Function functions[] = {
      {"concat",
       "Joins texts.",
       {param("a"), param("b"), param("c").or_else(""), param("d").or_else("")},
       concat},
      {"format",
       "Replaces {1}, {2} and {3} in a pattern by texts.",
       {param("pattern"), param("first").or_else(""), param("second").or_else(""),
        param("third").or_else("")},
       format},
      {"int_to_string", "Writes a number in decimal.", {param("value")}, int_to_string},
      {"string_to_int",
       "Reads the whole number in a text.",
       {param("text"), param("unit", "what the number is divided by").or_else(1)},
       string_to_int},
      {"field",
       "Picks a field out of a text.",
       {param("text"), param("number", "counted from 1"),
        param("separator", "blanks and ends of lines when empty").or_else("")},
       field},
      {"value_after",
       "Picks the first word behind a key out of a text.",
       {param("text"), param("key")},
       value_after},
  };
  return functions;
}

}  // namespace fwstd
