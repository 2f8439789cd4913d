// Adds the text between two conversions as it is, and each conversion by its kind.
#include "fwbase/runlog/message_format.h"

#include <cstring>
#include <string_view>

namespace fwbase {

namespace {

// The part of a text that a message can show: at most `precision` bytes, if that is not negative.
std::string_view text_of(const char* text, int precision) {
  if (text == nullptr) {
    return "(null)";
  }
  const std::size_t most = precision < 0
                               ? BoundedText::kLimit
                               : std::min(BoundedText::kLimit, static_cast<std::size_t>(precision));
  return {text, ::strnlen(text, most)};
}

}  // namespace

// No character of GBK has a "%" as its second byte.
void add_message(BoundedText& text, const char* format, std::va_list args) {
  while (const char* const percent = std::strchr(format, '%')) {
    text.add({format, static_cast<std::size_t>(percent - format)});
    const Conversion conversion = conversion_at(percent + 1);
    int precision = -1;
    switch (conversion.kind) {
      case '*':
        precision = va_arg(args, int);
        [[fallthrough]];
      case 's':
        text.add_foreign(text_of(va_arg(args, const char*), precision));
        break;
      case 'd':
        text.add_number(va_arg(args, int), 10);
        break;
      case 'u':
        text.add_number(va_arg(args, unsigned int), 10);
        break;
      case 'x':
        text.add_number(va_arg(args, unsigned int), 16);
        break;
      default:
        text.add("%");
    }
    format = conversion.end;
  }
  text.add(format);
}

}  // namespace fwbase
