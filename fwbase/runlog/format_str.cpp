// IRunLog::FormatStr: printf into a new buffer of a fixed size, cut at 1,022 characters.
#include <cstdio>
#include <cstring>
#include <new>

#include "fwbase/runlog/fast_printf.h"
#include "fwbase/runlog/runlog.h"

namespace fwbase {

namespace {
constexpr int kLimit = 1022;  // characters
}  // namespace

std::size_t format_text(FormattedText& text, const char* format, std::va_list args) {
  if (const auto size = fast_printf(text, kLimit, format, args)) {
    text[*size] = '\0';
    return *size;
  }
  std::memset(text, 0, sizeof text);
  const int size = std::vsnprintf(text, kLimit + 1, format, args);
  return static_cast<std::size_t>(size < 0 || size > kLimit ? kLimit : size);
}

char* IRunLog::FormatStr(const char* format, ...) {
  if (format == nullptr) {
    return nullptr;
  }
  auto* const text = new (std::nothrow) FormattedText;
  if (text != nullptr) {
    std::va_list args;
    va_start(args, format);
    const std::size_t size = format_text(*reinterpret_cast<FormattedText*>(text), format, args);
    va_end(args);
    std::memset(text + size, 0, sizeof(FormattedText) - size);
  }
  return text;
}

}  // namespace fwbase
