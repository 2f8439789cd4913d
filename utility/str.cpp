// Texts as bytes. What changes a text does so in one pass over it.
#include "utility/str.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <utility>

namespace utility {
namespace {

constexpr const char* kTrimmed = " \t\r\n";
constexpr const char* kWordSeparators = " \t\n\v\f\r";  // what isspace() accepts in the C locale

void keep_from(std::string& s, std::size_t first_kept) {
  s.erase(0, first_kept);  // npos: everything goes
}

void keep_through(std::string& s, std::size_t last_kept) {
  s.erase(last_kept + 1);  // npos + 1 is 0: everything goes
}

}  // namespace

void CStr::left_trim(std::string& s) { keep_from(s, s.find_first_not_of(kTrimmed)); }

void CStr::right_trim(std::string& s) { keep_through(s, s.find_last_not_of(kTrimmed)); }

void CStr::trim(std::string& s) {
  right_trim(s);
  left_trim(s);
}

void CStr::left_trim_byte(char c, std::string& s) { keep_from(s, s.find_first_not_of(c)); }

void CStr::right_trim_byte(char c, std::string& s) { keep_through(s, s.find_last_not_of(c)); }

void CStr::trim_byte(char c, std::string& s) {
  right_trim_byte(c, s);
  left_trim_byte(c, s);
}

void CStr::trim_remark(const std::string& mark, std::string& s) {
  const std::size_t at = s.find(mark);
  if (at != std::string::npos) {
    s.erase(at);
  }
}

// Compacts s in place: s[0, kept) is what stays, s[next, ...) is still to be read. What stays
// never ends in begin.
void CStr::trim_remark(const std::string& begin, const std::string& end, std::string& s) {
  if (&begin == &s || &end == &s) {
    return trim_remark(std::string(begin), std::string(end), s);
  }
  std::size_t kept = 0;
  std::size_t next = 0;
  while (!end.empty()) {
    if (std::string_view(s.data(), kept).ends_with(begin)) {
      kept -= begin.size();
      next -= begin.size();
      s.replace(next, begin.size(), begin);  // read again: end may start within it
      const std::size_t at = s.find(end, next);
      if (at == std::string::npos) {
        break;
      }
      next = at + end.size();
    } else if (next < s.size()) {
      s[kept++] = s[next++];
    } else {
      break;
    }
  }
  s.erase(kept, next - kept);
}

void CStr::string_replace(std::string& s, const std::string& from, const std::string& to) {
  if (from.empty()) {
    return;
  }
  std::size_t at = s.find(from);
  if (at == std::string::npos) {
    return;
  }
  std::string replaced;
  std::size_t copied = 0;
  for (; at != std::string::npos; at = s.find(from, copied)) {
    replaced.append(s, copied, at - copied).append(to);
    copied = at + from.size();
  }
  replaced.append(s, copied);
  s = std::move(replaced);
}

// Both forms collect first: s may be one of the strings in the vector that is to grow.
void CStr::ext_line(std::vector<std::string>& words, const std::string& s) {
  std::vector<std::string> found;
  std::size_t start = s.find_first_not_of(kWordSeparators);
  while (start != std::string::npos) {
    const std::size_t stop = s.find_first_of(kWordSeparators, start);
    found.push_back(s.substr(start, stop - start));
    start = s.find_first_not_of(kWordSeparators, stop);
  }
  std::move(found.begin(), found.end(), std::back_inserter(words));
}

void CStr::ext_line(const std::string& sep, std::vector<std::string>& parts, const std::string& s) {
  if (sep.empty()) {
    return;
  }
  std::vector<std::string> found;
  std::size_t start = 0;
  while (start < s.size()) {
    const std::size_t stop = std::min(s.find(sep, start), s.size());
    if (stop > start) {
      found.push_back(s.substr(start, stop - start));
    }
    start = stop + sep.size();
  }
  std::move(found.begin(), found.end(), std::back_inserter(parts));
}

long CStr::atol(const std::string& s) { return std::strtol(s.c_str(), nullptr, 10); }

long long CStr::atoll(const std::string& s) { return std::strtoll(s.c_str(), nullptr, 10); }

unsigned long long CStr::atoull(const std::string& s) {
  return std::strtoull(s.c_str(), nullptr, 10);
}

std::string CStr::lltoa(long long n) { return std::to_string(n); }

std::string CStr::ulltoa(unsigned long long n) { return std::to_string(n); }

}  // namespace utility
