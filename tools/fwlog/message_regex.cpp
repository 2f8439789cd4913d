// The C library's POSIX expressions, in a locale whose characters are those of UTF-8.
#include "message_regex.h"

#include <clocale>
#include <limits>
#include <new>

#include "log_records/encoding.h"

namespace fwlog {

namespace {

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = log_records::utf8_length(text);
    if (length == 0) {
      return false;
    }
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace

Regex::Regex(const std::string& expression) : m_compiled() {
  if (!is_utf8(expression)) {
    throw BadRegex("not UTF-8");
  }
  const int error = regcomp(&m_compiled, expression.c_str(), REG_EXTENDED | REG_NOSUB);
  if (error == REG_ESPACE) {
    throw std::bad_alloc();
  }
  if (error != 0) {
    char reason[128];
    regerror(error, &m_compiled, reason, sizeof reason);
    throw BadRegex(reason);
  }
}

bool Regex::matches(std::string_view text) const {
  if (text.size() > std::numeric_limits<regoff_t>::max()) {
    throw std::bad_alloc();
  }
  regmatch_t range{0, static_cast<regoff_t>(text.size())};
  const int result = regexec(&m_compiled, text.data(), 0, &range, REG_STARTEND);
  if (result != 0 && result != REG_NOMATCH) {
    throw std::bad_alloc();
  }
  return result == 0;
}

bool use_utf8_characters() { return std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr; }

}  // namespace fwlog
