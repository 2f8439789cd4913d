// Texts: joining, conversion, and picking values out of them.
#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "fwstd/functions.h"

namespace fwstd {

namespace {

using fwbase::IScript;

constexpr std::string_view kBlanks = " \t\r\n\v\f";

ec::EC concat(const Call& call) {
  return call.give(std::string(call.text(0)) + call.text(1) + call.text(2) + call.text(3));
}

// Replaces {1}, {2} and {3} by the arguments after the pattern. Unlike an argument that begins or
// ends with blanks, which loading trims, a pattern keeps the blanks inside it.
ec::EC format(const Call& call) {
  const std::string_view pattern = call.text(0);
  std::string text;
  for (std::size_t at = 0; at < pattern.size();) {
    const std::string_view place = pattern.substr(at, 3);
    if (place == "{1}" || place == "{2}" || place == "{3}") {
      text += call.text(place[1] - '0');
      at += place.size();
    } else {
      text += pattern[at++];
    }
  }
  return call.give(text);
}

ec::EC int_to_string(const Call& call) { return call.give(std::to_string(call.number(0))); }

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == text.npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

ec::EC string_to_int(const Call& call) {
  const std::string_view text = trimmed(call.text(0));
  const std::int32_t unit = call.number(1);
  if (unit < 1) {
    return call.fail(ec::SCRIPT_BAD_PARAM,
                     "the unit is " + std::to_string(unit) + ", not 1 or more");
  }
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "'" + std::string(text) + "' is not a whole number");
  }
  const std::int64_t result = number / unit;
  if (error != std::errc() || result < std::numeric_limits<std::int32_t>::min() ||
      result > std::numeric_limits<std::int32_t>::max()) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "'" + std::string(text) + "' does not fit in 32 bits");
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

ec::EC field(const Call& call) {
  const std::int32_t number = call.number(1);
  if (number < 1) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "fields are counted from 1, there is none with number " +
                                               std::to_string(number));
  }
  const std::string_view separator = call.text(2);
  const std::string_view found = separator.empty() ? nth_word(call.text(0), number)
                                                   : nth_part(call.text(0), number, separator);
  if (found.data() == nullptr) {
    return call.fail(ec::SCRIPT_NOT_FOUND,
                     "there is no field " + std::to_string(number) + " in '" + call.text(0) + "'");
  }
  return call.give(std::string(found));
}

// Where the value of `key` begins: behind a key at the start of a word.
std::size_t behind_key(std::string_view text, std::string_view key) {
  std::size_t at = text.find(key);
  while (at != text.npos && at != 0 && kBlanks.find(text[at - 1]) == kBlanks.npos) {
    at = text.find(key, at + 1);
  }
  return at == text.npos ? at : at + key.size();
}

ec::EC value_after(const Call& call) {
  const std::string_view text = call.text(0);
  const std::string key = call.text(1);
  if (key.empty()) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "the key is empty");
  }
  const std::size_t behind = behind_key(text, key);
  if (behind == text.npos) {
    return call.fail(ec::SCRIPT_NOT_FOUND, "the text has no key '" + key + "'");
  }
  const std::string_view line = text.substr(behind, text.find('\n', behind) - behind);
  const std::string_view value = nth_word(line, 1);
  if (value.data() == nullptr) {
    return call.fail(ec::SCRIPT_NOT_FOUND, "no value follows the key '" + key + "' in its line");
  }
  return call.give(std::string(value));
}

}  // namespace

std::span<Function> text_functions() {
  static Function functions[] = {
      {"concat",
       {IScript::VT_STRING, IScript::VT_STRING, IScript::VT_STRING, IScript::VT_STRING},
       concat},
      {"format",
       {IScript::VT_STRING, IScript::VT_STRING, IScript::VT_STRING, IScript::VT_STRING},
       format},
      {"int_to_string", {IScript::VT_INT}, int_to_string},
      {"string_to_int", {IScript::VT_STRING, IScript::VT_INT}, string_to_int},
      {"field", {IScript::VT_STRING, IScript::VT_INT, IScript::VT_STRING}, field},
      {"value_after", {IScript::VT_STRING, IScript::VT_STRING}, value_after},
  };
  return functions;
}

}  // namespace fwstd
