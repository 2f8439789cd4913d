// What the bytes of a document must be, by the size of their units: UTF-32 and UTF-16 are looked at
// here, UTF-8 where the library does not look, and all other encodings are decoded a second time by
// the library's own means.
#include "utility/xml/document_encoding.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace utility {
namespace {

constexpr bool is_high_surrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool is_low_surrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Surrogates of a text that comes in pieces: each must have its other half.
class SurrogatePairs {
 public:
  // False when the unit cannot follow the one before.
  bool take(char32_t unit) {
    const bool fits = is_low_surrogate(unit) == m_half;
    m_half = is_high_surrogate(unit);
    return fits;
  }
  bool complete() const { return !m_half; }

 private:
  bool m_half = false;
};

struct Units {
  std::size_t size;  // in bytes, of a unit of the text
  bool big_endian;
};

// By the first characters of the text: a byte order mark or "<".
Units units_of(std::string_view text) {
  using std::string_view_literals::operator""sv;
  if (text.starts_with("<\0\0\0"sv) || text.starts_with("\xFF\xFE\0\0"sv)) {
    return {4, false};
  }
  if (text.starts_with("\0\0\0<"sv) || text.starts_with("\0\0\xFE\xFF"sv)) {
    return {4, true};
  }
  if (text.starts_with("<\0"sv) || text.starts_with("\xFF\xFE"sv)) {
    return {2, false};
  }
  if (text.starts_with("\0<"sv) || text.starts_with("\xFE\xFF"sv)) {
    return {2, true};
  }
  return {1, false};
}

char32_t unit_at(std::string_view text, std::size_t at, Units units) {
  char32_t unit = 0;
  for (std::size_t i = 0; i < units.size; ++i) {
    const std::size_t byte = units.big_endian ? at + i : at + units.size - 1 - i;
    unit = unit << 8 | static_cast<unsigned char>(text[byte]);
  }
  return unit;
}

// Whether a text in units of two or four bytes, of which only the former may be surrogates, is
// whole.
bool is_whole_wide(std::string_view text, Units units) {
  SurrogatePairs pairs;
  for (std::size_t at = 0; at < text.size(); at += units.size) {
    const char32_t unit = unit_at(text, at, units);
    const bool is_surrogate = is_high_surrogate(unit) || is_low_surrogate(unit);
    if (unit == 0 || unit > 0x10FFFF || (units.size == 4 && is_surrogate) || !pairs.take(unit)) {
      return false;
    }
  }
  return pairs.complete();
}

// Whether a character of UTF-8 is cut off at the end. The library takes lead bytes of up to eight
// bytes, of which UTF-8 has no more than four, for those of a character that is still to come.
bool ends_in_a_character_of_utf8(std::string_view text) {
  constexpr std::size_t kLongest = 8;
  const std::string_view end = text.substr(text.size() - std::min(text.size(), kLongest));
  for (std::size_t left = 1; left <= end.size(); ++left) {
    const auto byte = static_cast<unsigned char>(end[end.size() - left]);
    if (byte >= 0xC0) {
      return static_cast<std::size_t>(std::countl_one(byte)) > left;
    }
  }
  return false;
}

// Whether a byte is there that no character of UTF-8 has, but the library takes for the first of
// four.
bool has_a_lead_byte_beyond_utf8(std::string_view text) {
  constexpr std::string_view kLeadBytes = "\xF5\xF6\xF7";
  return std::any_of(kLeadBytes.begin(), kLeadBytes.end(),
                     [text](char byte) { return text.find(byte) != std::string_view::npos; });
}

// Whether all of text can be decoded. Of what a text ends in, blanks show that it is cut off.
class Decoder {
 public:
  // cppcheck-suppress uninitMemberVar  ; the transcoder fills the sizes before they are read
  Decoder(const XMLCh* encoding, xc::MemoryManager& memory) {
    xc::XMLTransService::Codes code;
    m_transcoder.reset(xc::XMLPlatformUtils::fgTransService->makeNewTranscoderFor(encoding, code,
                                                                                  kBlock, &memory));
  }

  bool takes_all(std::string_view text) {
    constexpr std::string_view kBlanks = "    ";
    return m_transcoder != nullptr && takes(text) && takes(kBlanks) && m_pairs.complete();
  }

 private:
  static constexpr XMLSize_t kBlock = 4096;

  // What ICU makes of bytes that are no character: for characters of two bytes, and of one, which
  // XML has not got in any case.
  static bool is_replacement(XMLCh unit) { return unit == 0xFFFD || unit == 0x001A; }

  bool takes(std::string_view text) {
    while (!text.empty()) {
      XMLSize_t eaten = 0;
      const XMLSize_t count = m_transcoder->transcodeFrom(
          reinterpret_cast<const XMLByte*>(text.data()), std::min<XMLSize_t>(text.size(), kBlock),
          m_characters, kBlock, eaten, m_sizes);
      const bool good = std::all_of(m_characters, m_characters + count, [this](XMLCh unit) {
        return !is_replacement(unit) && m_pairs.take(unit);
      });
      if (eaten == 0 || !good) {
        return false;
      }
      text.remove_prefix(eaten);
    }
    return true;
  }

  std::unique_ptr<xc::XMLTranscoder> m_transcoder;
  SurrogatePairs m_pairs;
  XMLCh m_characters[kBlock];
  unsigned char m_sizes[kBlock];
};

bool is_utf8(const XMLCh* encoding) {
  return encoding == nullptr ||
         xc::XMLString::compareIString(encoding, xc::XMLUni::fgUTF8EncodingString) == 0 ||
         xc::XMLString::compareIString(encoding, xc::XMLUni::fgUTF8EncodingString2) == 0;
}

}  // namespace

bool is_whole(std::string_view text, const XMLCh* encoding, xc::MemoryManager& memory) {
  const Units units = units_of(text);
  if (text.size() % units.size != 0) {
    return false;
  }
  if (units.size > 1) {
    return is_whole_wide(text, units);
  }
  if (text.find('\0') != std::string_view::npos) {
    return false;
  }
  if (is_utf8(encoding)) {
    return !has_a_lead_byte_beyond_utf8(text) && !ends_in_a_character_of_utf8(text);
  }
  return Decoder(encoding, memory).takes_all(text);
}

}  // namespace utility
