#include "utility/str.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <string_view>
#include <system_error>
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

struct Number {
  bool negative = false;
  std::string_view digits;
};

// The number that text starts with; no digits when there is none.
Number leading_number(std::string_view text) {
  Number number;
  const std::size_t start = text.find_first_not_of(kWordSeparators);
  if (start == std::string_view::npos) {
    return number;
  }
  text.remove_prefix(start);
  if (text.front() == '-' || text.front() == '+') {
    number.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  number.digits = text.substr(0, text.find_first_not_of("0123456789"));
  return number;
}

// The value of decimal digits, 0 for none; false when it does not fit.
bool magnitude(std::string_view digits, unsigned long long& value) {
  value = 0;
  return std::from_chars(digits.data(), digits.data() + digits.size(), value).ec !=
         std::errc::result_out_of_range;
}

template <typename Signed>
Signed to_signed(const std::string& s) {
  const Number number = leading_number(s);
  constexpr auto kMax = static_cast<unsigned long long>(std::numeric_limits<Signed>::max());
  unsigned long long value = 0;
  const bool fits = magnitude(number.digits, value);
  if (!number.negative) {
    return fits && value <= kMax ? static_cast<Signed>(value) : Signed(kMax);
  }
  if (!fits || value > kMax) {
    return std::numeric_limits<Signed>::min();
  }
  return -static_cast<Signed>(value);
}

template <typename Integer>
std::string to_text(Integer n) {
  char digits[std::numeric_limits<Integer>::digits10 + 3];
  return std::string(digits, std::to_chars(digits, digits + sizeof(digits), n).ptr);
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
// never holds a whole begin, so the next comment starts where its last bytes complete one.
void CStr::trim_remark(const std::string& begin, const std::string& end, std::string& s) {
  if (&begin == &s || &end == &s) {
    return trim_remark(std::string(begin), std::string(end), s);
  }
  if (end.empty()) {
    return;
  }
  if (begin.empty()) {  // found at the start of whatever is left: all up to the last end goes
    std::size_t after = 0;
    for (std::size_t at; (at = s.find(end, after)) != std::string::npos;) {
      after = at + end.size();
    }
    s.erase(0, after);
    return;
  }
  std::size_t kept = 0;
  std::size_t next = 0;
  while (next < s.size()) {
    s[kept++] = s[next++];
    if (s[kept - 1] != begin.back() || !std::string_view(s.data(), kept).ends_with(begin)) {
      continue;
    }

    // end may start within begin, so look there, and a little way on, first.
    const std::string opening = begin + s.substr(next, end.size() - 1);
    if (const std::size_t at = opening.find(end); at != std::string::npos) {
      kept -= begin.size();
      const std::size_t removed = at + end.size();
      if (removed < begin.size()) {  // the rest of begin is read again
        next -= begin.size() - removed;
        s.replace(next, begin.size() - removed, begin, removed);
      } else {
        next += removed - begin.size();
      }
      continue;
    }
    const std::size_t at = s.find(end, next);
    if (at == std::string::npos) {
      break;
    }
    kept -= begin.size();
    next = at + end.size();
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

long CStr::atol(const std::string& s) { return to_signed<long>(s); }

long long CStr::atoll(const std::string& s) { return to_signed<long long>(s); }

unsigned long long CStr::atoull(const std::string& s) {
  const Number number = leading_number(s);
  unsigned long long value = 0;
  if (!magnitude(number.digits, value)) {
    return std::numeric_limits<unsigned long long>::max();
  }
  return number.negative ? 0 - value : value;
}

std::string CStr::lltoa(long long n) { return to_text(n); }

std::string CStr::ulltoa(unsigned long long n) { return to_text(n); }

}  // namespace utility
