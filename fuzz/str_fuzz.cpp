// CStr against models that are as simple as they can be.
//
// Input: a byte for the function, a byte for the alphabet, a line for each of two short texts, and
// the text that the function works on. A small alphabet makes the short texts occur in it.
#include <utility/str.h>

#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "fuzz/harness/check.h"
#include "fuzz/harness/input.h"

namespace {

using utility::CStr;
using Texts = std::vector<std::string>;

bool is_one_of(char c, const std::string& bytes) { return bytes.find(c) != std::string::npos; }

std::string left_trimmed(std::string s, const std::string& bytes) {
  while (!s.empty() && is_one_of(s.front(), bytes)) s.erase(s.begin());
  return s;
}

std::string right_trimmed(std::string s, const std::string& bytes) {
  while (!s.empty() && is_one_of(s.back(), bytes)) s.pop_back();
  return s;
}

std::string trimmed(const std::string& s, const std::string& bytes) {
  return right_trimmed(left_trimmed(s, bytes), bytes);
}

std::string without_comments(std::string s, const std::string& begin, const std::string& end) {
  while (!end.empty()) {
    const std::size_t from = s.find(begin);
    const std::size_t to = from == std::string::npos ? from : s.find(end, from);
    if (to == std::string::npos) break;
    s = s.substr(0, from) + s.substr(to + end.size());
  }
  return s;
}

std::string replaced(const std::string& s, const std::string& from, const std::string& to) {
  std::string result;
  for (std::size_t i = 0; i < s.size();) {
    const bool found = !from.empty() && s.compare(i, from.size(), from) == 0;
    result += found ? to : std::string(1, s[i]);
    i += found ? from.size() : 1;
  }
  return result;
}

Texts words_of(const std::string& s) {
  std::istringstream in(s);
  in.imbue(std::locale::classic());
  Texts words;
  for (std::string word; in >> word;) words.push_back(word);
  return words;
}

Texts pieces_of(const std::string& s, const std::string& sep) {
  Texts pieces;
  std::string piece;
  for (std::size_t i = 0; !sep.empty() && i <= s.size();) {
    const bool at_sep = i < s.size() && s.compare(i, sep.size(), sep) == 0;
    if (at_sep || i == s.size()) {
      if (!piece.empty()) pieces.push_back(piece);
      piece.clear();
      i += at_sep ? sep.size() : 1;
    } else {
      piece += s[i++];
    }
  }
  return pieces;
}

// What stream extraction gives: 0 without a number, the nearest limit out of range.
template <typename Number>
Number number_of(const std::string& s) {
  std::istringstream in(s);
  in.imbue(std::locale::classic());
  Number number = 0;
  in >> number;
  return number;
}

template <typename Function>
std::string changed(std::string s, Function function) {
  function(s);
  return s;
}

void check_trimming(const std::string& s, char c) {
  const std::string blanks = " \t\r\n";
  const std::string byte(1, c);
  FUZZ_CHECK(changed(s, CStr::left_trim) == left_trimmed(s, blanks));
  FUZZ_CHECK(changed(s, CStr::right_trim) == right_trimmed(s, blanks));
  FUZZ_CHECK(changed(s, CStr::trim) == trimmed(s, blanks));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::left_trim_byte(c, t); }) == left_trimmed(s, byte));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::right_trim_byte(c, t); }) == right_trimmed(s, byte));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::trim_byte(c, t); }) == trimmed(s, byte));
}

void check_remarks(const std::string& s, const std::string& begin, const std::string& end) {
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::trim_remark(begin, t); }) ==
             s.substr(0, s.find(begin)));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::trim_remark(begin, end, t); }) ==
             without_comments(s, begin, end));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::trim_remark(t, end, t); }) ==
             without_comments(s, s, end));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::trim_remark(begin, t, t); }) ==
             without_comments(s, begin, s));
}

void check_replacing(const std::string& s, const std::string& from, const std::string& to) {
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::string_replace(t, from, to); }) ==
             replaced(s, from, to));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::string_replace(t, from, t); }) ==
             replaced(s, from, s));
  FUZZ_CHECK(changed(s, [&](auto& t) { CStr::string_replace(t, t, to); }) == replaced(s, s, to));
}

void check_splitting(const std::string& s, const std::string& sep) {
  Texts expected = {"stays"};
  Texts found = expected;
  for (const Texts& more : {words_of(s), pieces_of(s, sep)}) {
    expected.insert(expected.end(), more.begin(), more.end());
  }
  CStr::ext_line(found, s);
  CStr::ext_line(sep, found, s);
  FUZZ_CHECK(found == expected);
}

void check_numbers(const std::string& s) {
  FUZZ_CHECK(CStr::atol(s) == number_of<long>(s));
  FUZZ_CHECK(CStr::atoll(s) == number_of<long long>(s));
  FUZZ_CHECK(CStr::atoull(s) == number_of<unsigned long long>(s));
  const long long number = CStr::atoll(s);
  FUZZ_CHECK(CStr::lltoa(number) == std::to_string(number));
  FUZZ_CHECK(CStr::atoll(CStr::lltoa(number)) == number);
  const unsigned long long natural = CStr::atoull(s);
  FUZZ_CHECK(CStr::ulltoa(natural) == std::to_string(natural));
  FUZZ_CHECK(CStr::atoull(CStr::ulltoa(natural)) == natural);
}

// With a small alphabet, each byte stands for one of a few.
std::string in_alphabet(std::string s, unsigned int choice) {
  static const std::string kAlphabets[] = {"", "ab", std::string(" \t\r\n\v\fa\0", 8), "/*",
                                           "-+0129 a"};
  const std::string& letters = kAlphabets[choice % std::size(kAlphabets)];
  for (char& c : s) {
    if (!letters.empty()) c = letters[static_cast<unsigned char>(c) % letters.size()];
  }
  return s;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fwbase::fuzz::Input input(data, size);
  const unsigned int function = input.below(5);
  const unsigned int alphabet = input.byte();
  const std::string first = in_alphabet(input.line(), alphabet);
  const std::string second = in_alphabet(input.line(), alphabet);
  const std::string s = in_alphabet(input.rest(), alphabet);
  switch (function) {
    case 0:
      check_trimming(s, first.empty() ? '\0' : first.front());
      break;
    case 1:
      check_remarks(s, first, second);
      break;
    case 2:
      check_replacing(s, first, second);
      break;
    case 3:
      check_splitting(s, first);
      break;
    default:
      check_numbers(s);
  }
  return 0;
}
