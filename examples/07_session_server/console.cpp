#include "console.h"

#include <cstdio>

namespace session_server {

namespace {

constexpr unsigned char kC1Lead = 0xC2;  ///< in UTF-8, of U+0080 to U+00BF

bool is_c1(unsigned char byte) { return byte >= 0x80 && byte < 0xA0; }

/// Whether this byte of a UTF-8 text is a control character or part of one. A byte from 0x80 to
/// 0x9F is the rest of another character, unless it follows 0xC2 or stands alone.
bool is_control(unsigned char before, unsigned char byte, unsigned char after) {
  return byte < 0x20 || byte == 0x7F || (byte == kC1Lead && is_c1(after)) ||
         (is_c1(byte) && (before < 0x80 || before == kC1Lead));
}

std::string escaped(const std::string& text) {
  std::string all;
  unsigned char before = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto after = static_cast<unsigned char>(text.c_str()[i + 1]);
    if (is_control(before, byte, after)) {
      char escape[5];
      std::snprintf(escape, sizeof escape, "\\x%02x", byte);
      all += escape;
      before = 0;
    } else {
      all += text[i];
      before = byte;
    }
  }
  return all;
}

}  // namespace

void complain(const char* program, const std::string& message) {
  std::fprintf(stderr, "%s: %s\n", program, escaped(message).c_str());
}

}  // namespace session_server
