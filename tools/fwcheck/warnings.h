// The warnings, which --ignore takes by name.
#ifndef FWCHECK_WARNINGS_H
#define FWCHECK_WARNINGS_H

#include <algorithm>
#include <string>
#include <vector>

namespace fwcheck {

inline const std::vector<std::string>& warnings() {
  static const std::vector<std::string> all = {
      "bad-int",          "doctype",           "duplicate-variable", "empty-argument",
      "ignored-content",  "ignored-process",   "ignored-text",       "stale-declaration",
      "suspect-encoding", "unknown-attribute", "unknown-element",    "unset-variable"};
  return all;
}

inline bool is_warning(const std::string& rule) {
  return std::count(warnings().begin(), warnings().end(), rule) != 0;
}

}  // namespace fwcheck

#endif
