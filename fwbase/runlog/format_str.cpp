// IRunLog::FormatStr: printf into a new buffer of a fixed size, cut at 1,022 characters.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "fwbase/support/fast_printf.h"
#include "fwbase/support/run_log.h"

namespace fwbase {

namespace {
constexpr int kLimit = 1023;  // what vsnprintf is given: 1,022 characters and a terminator
}  // namespace

std::atomic<unsigned int> IRunLog::ms_type_sign{0};

void support::format_text(FormattedText& text, const char* format, std::va_list args) {
  if (const auto size = fast_printf(text, kLimit - 1, format, args)) {
    std::memset(text + *size, 0, sizeof text - *size);
    return;
  }
  std::memset(text, 0, sizeof text);
  const int length = std::vsnprintf(text, kLimit, format, args);
  if (length >= 0) {
    text[std::min(length, kLimit)] = '\0';
  }
}

char* IRunLog::FormatStr(const char* format, ...) {
  if (format == nullptr) {
    return nullptr;
  }
  auto* const text = new (std::nothrow) support::FormattedText;
  if (text != nullptr) {
    std::va_list args;
    va_start(args, format);
    support::format_text(*reinterpret_cast<support::FormattedText*>(text), format, args);
    va_end(args);
  }
  return text;
}

}  // namespace fwbase
