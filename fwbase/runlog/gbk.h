// Sources are UTF-8 and the log is GBK: texts are converted while compiling.
//
// A character without a GBK code stops the build with the name character_has_no_gbk_code.
#ifndef FWBASE_RUNLOG_GBK_H
#define FWBASE_RUNLOG_GBK_H

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace fwbase::gbk {

struct CodePair {
  char16_t unicode;
  char16_t gbk;
};

#include "gbk_table.inc"

/// Never defined: reaching it while compiling is the error message.
void character_has_no_gbk_code();

/// The GBK code of a character beyond ASCII, or 0 when GBK has none.
constexpr char16_t code_of(char32_t character) {
  constexpr char32_t kFirst = 0x4E00;
  constexpr char32_t kCount = std::size(kIdeographs) - 1;
  if (character >= kFirst && character < kFirst + kCount) {
    return kIdeographs[character - kFirst];
  }
  const auto* const found =
      std::lower_bound(std::begin(kOthers), std::end(kOthers), character,
                       [](const CodePair& pair, char32_t wanted) { return pair.unicode < wanted; });
  return found != std::end(kOthers) && found->unicode == character ? found->gbk : char16_t{0};
}

/// Takes one character off a valid UTF-8 text.
constexpr char32_t next_character(const char*& text) {
  const auto lead = static_cast<unsigned char>(*text++);
  if (lead < 0x80) {
    return lead;
  }
  const int continuation = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  char32_t character = lead & (0x3Fu >> continuation);
  for (int i = 0; i < continuation; ++i) {
    character = (character << 6) | (static_cast<unsigned char>(*text++) & 0x3Fu);
  }
  return character;
}

/// The number of GBK bytes that a UTF-8 text takes, its terminating zero included.
constexpr std::size_t size_of(const char* text) {
  std::size_t size = 1;
  while (*text != '\0') {
    size += next_character(text) < 0x80 ? 1 : 2;
  }
  return size;
}

template <std::size_t Size>
struct Text {
  char bytes[Size];
};

/// A UTF-8 text as GBK; Size is what size_of says.
template <std::size_t Size>
constexpr Text<Size> encode(const char* text) {
  Text<Size> encoded{};
  char* out = encoded.bytes;
  while (*text != '\0') {
    const char32_t character = next_character(text);
    if (character < 0x80) {
      *out++ = static_cast<char>(character);
      continue;
    }
    const char16_t code = code_of(character);
    if (code == 0) {
      character_has_no_gbk_code();
    }
    *out++ = static_cast<char>(code >> 8);
    *out++ = static_cast<char>(code & 0xFF);
  }
  return encoded;
}

}  // namespace fwbase::gbk

/// A literal as GBK, with static storage.
#define GBK(literal)                                                     \
  ([]() -> const char* {                                                 \
    static constexpr auto gbk_text =                                     \
        ::fwbase::gbk::encode<::fwbase::gbk::size_of(literal)>(literal); \
    return gbk_text.bytes;                                               \
  }())

#endif
