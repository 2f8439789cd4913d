// Helpers on narrow strings.
#ifndef UTILITY_STR_H
#define UTILITY_STR_H

#include <fwbase/export.h>

#include <string>
#include <vector>

/// Strings and XML.
namespace utility {

/// Helpers on narrow strings: trimming, comments, splitting, replacing, numbers.
///
/// All functions are static and keep no state: any thread may call them at any time on its own
/// strings. Comparisons are on bytes: characters of a multi-byte code page are plain bytes, and a
/// zero byte is a byte like any other. No function logs, and none throws anything but
/// std::bad_alloc. One object may serve as several arguments.
class FWBASE_API CStr {
 public:
  /// Removes the leading run of white space from s. White space is exactly blank, tab, carriage
  /// return and line feed. A string of white space only becomes empty.
  static void left_trim(std::string& s);

  /// Removes the trailing run of white space from s, as left_trim() counts it.
  static void right_trim(std::string& s);

  /// left_trim(), then right_trim().
  static void trim(std::string& s);

  /// Removes the leading run of bytes equal to c. A string of such bytes only becomes empty.
  static void left_trim_byte(char c, std::string& s);

  /// Removes the trailing run of bytes equal to c. A string of such bytes only becomes empty.
  static void right_trim_byte(char c, std::string& s);

  /// left_trim_byte(), then right_trim_byte().
  static void trim_byte(char c, std::string& s);

  /// Cuts s at the first occurrence of mark: s keeps only the text before it. s stays as it is when
  /// mark does not occur. An empty mark occurs at the start and so empties s.
  static void trim_remark(const std::string& mark, std::string& s);

  /// Removes every block comment that starts with begin and ends with end, until none is left: a
  /// comment that arises when the text around a removed comment joins is removed as well. A comment
  /// without its end stays. The search for end starts where begin starts, not after begin: when
  /// begin equals end (say "#"), each marker is removed by itself and the text between two markers
  /// stays. An empty end leaves s as it is.
  ///
  /// Takes time linear in the length of s, whatever the number of comments.
  static void trim_remark(const std::string& begin, const std::string& end, std::string& s);

  /// Replaces every occurrence of from in s by to, from left to right; inserted text is not
  /// searched again. An empty from leaves s as it is. Takes time linear in the lengths of the old
  /// and the new text.
  static void string_replace(std::string& s, const std::string& from, const std::string& to);

  /// Appends the words of s to words. Words are separated by any white space of the C locale
  /// (blank, tab, line feed, vertical tab, form feed, carriage return). words is not cleared.
  static void ext_line(std::vector<std::string>& words, const std::string& s);

  /// Appends the non-empty pieces of s between occurrences of sep to parts: "a,,b," split at ","
  /// gives "a" and "b". parts is not cleared. An empty sep appends nothing.
  static void ext_line(const std::string& sep, std::vector<std::string>& parts,
                       const std::string& s);

  /// Converts decimal text to a number. Leading white space of the C locale is skipped, one sign is
  /// accepted, and reading stops at the first byte that is not a digit: "42abc" gives 42, " -7"
  /// gives -7. Text without a number gives 0. A number out of range gives the nearest value of the
  /// result type.
  static long atol(const std::string& s);

  /// As atol(), for long long.
  static long long atoll(const std::string& s);

  /// As atol(), for unsigned long long. A minus sign is accepted and gives the number's value
  /// modulo 2^64, as the standard library's conversions do: "-1" gives the largest value.
  static unsigned long long atoull(const std::string& s);

  /// n as decimal text, with "-" in front of a negative number and nothing else around it.
  static std::string lltoa(long long n);

  /// n as decimal text.
  static std::string ulltoa(unsigned long long n);
};

}  // namespace utility

#endif
