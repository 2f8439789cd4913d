// IRunLog::FormatStr: printf into a new buffer of a fixed size, cut at 1,022 characters.
#include <algorithm>
#include <cstdio>
#include <new>

#include "fwbase/support/run_log.h"

namespace fwbase {

namespace {
constexpr std::size_t kBufferSize = 1024;
constexpr int kLimit = 1023;  // what vsnprintf is given: 1,022 characters and a terminator
}  // namespace

std::atomic<unsigned int> IRunLog::ms_type_sign{0};

std::unique_ptr<char[]> support::format_text(const char* format, std::va_list args) {
  if (format == nullptr) {
    return nullptr;
  }
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[kBufferSize]());
  if (!buffer) {
    return nullptr;
  }
  const int length = std::vsnprintf(buffer.get(), kLimit, format, args);
  if (length >= 0) {
    buffer[static_cast<std::size_t>(std::min(length, kLimit))] = '\0';
  }
  return buffer;
}

char* IRunLog::FormatStr(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  std::unique_ptr<char[]> text = support::format_text(format, args);
  va_end(args);
  return text.release();
}

}  // namespace fwbase
