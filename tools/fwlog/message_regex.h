// --grep and --exclude.
#ifndef FWLOG_MESSAGE_REGEX_H
#define FWLOG_MESSAGE_REGEX_H

#include <regex.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace fwlog {

/// An expression that is none, with the reason.
struct BadRegex : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A POSIX extended expression on characters of UTF-8, where the process's LC_CTYPE is C.UTF-8.
class Regex {
 public:
  explicit Regex(const std::string& expression);
  ~Regex() { regfree(&m_compiled); }
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  /// Throws std::bad_alloc where matching takes more memory than there is.
  bool matches(std::string_view text) const;

 private:
  regex_t m_compiled;
};

/// Makes the characters of the process those of UTF-8. Without this expressions are on bytes.
bool use_utf8_characters();

}  // namespace fwlog

#endif
