#include "fwbase/support/message_format.h"

#include <cstring>
#include <string_view>

namespace fwbase::support {

namespace {

// As much of a text as a message can show, and of a precision's bytes no more.
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
      case Conversion::Kind::kPartOfText:
        precision = va_arg(args, int);
        [[fallthrough]];
      case Conversion::Kind::kText:
        text.add_foreign(text_of(va_arg(args, const char*), precision));
        break;
      case Conversion::Kind::kInt:
        text.add_number(va_arg(args, int), 10);
        break;
      case Conversion::Kind::kUnsigned:
        text.add_number(va_arg(args, unsigned int), 10);
        break;
      case Conversion::Kind::kHex:
        text.add_number(va_arg(args, unsigned int), 16);
        break;
      case Conversion::Kind::kPercent:
      case Conversion::Kind::kNone:
        text.add("%");
        break;
    }
    format = conversion.end;
  }
  text.add(format);
}

}  // namespace fwbase::support
