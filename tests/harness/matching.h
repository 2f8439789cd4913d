// Matching by POSIX extended regular expressions. (GCC warns inside std::regex when a sanitizer is
// on, and warnings are errors.)
#ifndef FWBASE_TESTS_HARNESS_MATCHING_H
#define FWBASE_TESTS_HARNESS_MATCHING_H

#include <regex.h>

#include <stdexcept>
#include <string>

namespace fwbase::test {

/// True when some part of `text` matches; "^" and "$" match at its two ends.
inline bool has_match(const std::string& text, const std::string& pattern) {
  regex_t compiled;
  if (regcomp(&compiled, pattern.c_str(), REG_EXTENDED | REG_NOSUB) != 0) {
    throw std::runtime_error("not a regular expression: " + pattern);
  }
  const bool found = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return found;
}

}  // namespace fwbase::test

#endif
