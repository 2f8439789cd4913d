// Characters of UTF-8 in bytes that may be anything else.
#ifndef TOOLS_COMMAND_LINE_UTF8_H
#define TOOLS_COMMAND_LINE_UTF8_H

#include <cstddef>
#include <string_view>

namespace tools {

/// True for a byte of a character behind its first one.
inline bool is_utf8_continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

/// The length of the character that `text` begins with, 0 when it begins with none.
inline std::size_t utf8_length(std::string_view text) {
  if (text.empty()) {
    return 0;
  }
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char lead = byte(0);
  const std::size_t length = lead < 0x80                   ? 1
                             : lead >= 0xC2 && lead < 0xE0 ? 2
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xF0 && lead < 0xF5 ? 4
                                                           : 0;
  if (length == 0 || text.size() < length) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (!is_utf8_continuation(text[i])) {
      return 0;
    }
  }
  const bool is_longer_than_needed =
      (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
  const bool is_half_or_beyond =
      (lead == 0xED && byte(1) >= 0xA0) || (lead == 0xF4 && byte(1) >= 0x90);
  return is_longer_than_needed || is_half_or_beyond ? 0 : length;
}

}  // namespace tools

#endif
