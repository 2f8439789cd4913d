// The formats of the library's own messages: a part of what printf knows, with the texts that they
// quote made harmless.
#ifndef FWBASE_SUPPORT_MESSAGE_FORMAT_H
#define FWBASE_SUPPORT_MESSAGE_FORMAT_H

#include <cstdarg>

#include "fwbase/support/bounded_text.h"

namespace fwbase::support {

/// What stands behind a "%".
struct Conversion {
  enum class Kind { kNone, kText, kPartOfText, kInt, kUnsigned, kHex, kPercent };
  Kind kind;
  const char* end;
};

constexpr Conversion conversion_at(const char* at) {
  using Kind = Conversion::Kind;
  if (at[0] == '.' && at[1] == '*' && at[2] == 's') {
    return {Kind::kPartOfText, at + 3};
  }
  if (at[0] == '0' && at[1] == 'x') {  // no width: as "%x"
    ++at;
  }
  switch (*at) {
    case 's':
      return {Kind::kText, at + 1};
    case 'd':
      return {Kind::kInt, at + 1};
    case 'u':
      return {Kind::kUnsigned, at + 1};
    case 'x':
      return {Kind::kHex, at + 1};
    case '%':
      return {Kind::kPercent, at + 1};
    default:
      return {Kind::kNone, at};
  }
}

/// Whether add_message knows all conversions of a format.
constexpr bool is_message_format(const char* format) {
  while (*format != '\0') {
    if (*format++ == '%') {
      const Conversion conversion = conversion_at(format);
      if (conversion.kind == Conversion::Kind::kNone) {
        return false;
      }
      format = conversion.end;
    }
  }
  return true;
}

/// Adds what printf makes of the format and the arguments; texts among these are foreign ones.
void add_message(BoundedText& text, const char* format, std::va_list args);

}  // namespace fwbase::support

#endif
