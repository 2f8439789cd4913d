// The formats of the library's own messages: a part of what printf knows, with the texts that they
// quote made harmless.
#ifndef FWBASE_RUNLOG_MESSAGE_FORMAT_H
#define FWBASE_RUNLOG_MESSAGE_FORMAT_H

#include <cstdarg>

#include "fwbase/runlog/bounded_text.h"

namespace fwbase {

/// What stands behind a "%".
struct Conversion {
  char kind;  ///< as printf has them; '*' for ".*s"; 0 for what add_message does not know
  const char* end;
};

constexpr Conversion conversion_at(const char* at) {
  if (at[0] == '.' && at[1] == '*' && at[2] == 's') {
    return {'*', at + 3};
  }
  if (at[0] == '0' && at[1] == 'x') {  // no width: as "%x"
    ++at;
  }
  switch (*at) {
    case 's':
    case 'd':
    case 'u':
    case 'x':
    case '%':
      return {*at, at + 1};
    default:
      return {0, at};
  }
}

/// Whether add_message knows all conversions of a format.
constexpr bool is_message_format(const char* format) {
  while (*format != '\0') {
    if (*format++ == '%') {
      const Conversion conversion = conversion_at(format);
      if (conversion.kind == 0) {
        return false;
      }
      format = conversion.end;
    }
  }
  return true;
}

/// Adds what printf makes of the format and the arguments; texts among these are foreign ones.
void add_message(BoundedText& text, const char* format, std::va_list args);

}  // namespace fwbase

#endif
