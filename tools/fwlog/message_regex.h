// --grep and --exclude: regular expressions on messages.
#ifndef FWLOG_MESSAGE_REGEX_H
#define FWLOG_MESSAGE_REGEX_H

#include <regex.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace fwlog {

/// Why a text is no expression.
struct BadRegex : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A POSIX extended expression. It sees characters of UTF-8 after use_utf8_characters().
class Regex {
 public:
  explicit Regex(const std::string& expression);
  ~Regex() { regfree(&m_compiled); }
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  /// Throws std::bad_alloc when there is too little memory for matching.
  bool matches(std::string_view text) const;

 private:
  regex_t m_compiled;
};

/// Sets the process's LC_CTYPE to C.UTF-8; otherwise expressions see bytes. False when the system
/// lacks that locale.
bool use_utf8_characters();

}  // namespace fwlog

#endif
