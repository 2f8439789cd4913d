// Copies a program's texts, and reads types and numbers from texts.
#include "fwbase/script/program.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <system_error>

namespace fwbase::script {

std::string_view Program::keep(std::string_view text) {
  auto* const copy = static_cast<char*>(texts->allocate(text.size() + 1, 1));
  std::copy(text.begin(), text.end(), copy);
  copy[text.size()] = '\0';
  return {copy, text.size()};
}

bool type_of(std::string_view text, IScript::VType& type) {
  if (text == "int") {
    type = IScript::VT_INT;
    return true;
  }
  if (text == "string") {
    type = IScript::VT_STRING;
    return true;
  }
  return false;
}

std::int32_t int_of(std::string_view text) {
  const char* const end = text.data() + text.size();
  const char* first = text.data() + std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  if (first != end && *first == '+' && first + 1 != end && first[1] != '-') {
    ++first;  // std::from_chars knows the minus only
  }
  std::int32_t number = 0;
  if (std::from_chars(first, end, number).ec == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<std::int32_t>;
    number = *first == '-' ? Limits::min() : Limits::max();
  }
  return number;
}

}  // namespace fwbase::script
