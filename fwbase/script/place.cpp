// Looks for "<" and line ends in the bytes of a file, and counts the characters between them.
#include "fwbase/script/place.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace fwbase::script {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool is_continuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

// The number of characters in UTF-8 text: all bytes but those that continue a character.
std::uint32_t characters(const char* text, std::size_t size) {
  constexpr std::uint64_t kLowBits = 0x0101010101010101U;
  std::size_t count = size;
  std::size_t i = 0;
  for (; size - i >= sizeof(std::uint64_t); i += sizeof(std::uint64_t)) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text + i, sizeof bytes);
    count -= static_cast<std::size_t>(std::popcount((bytes >> 7U) & ~(bytes >> 6U) & kLowBits));
  }
  for (; i < size; ++i) {
    count -= is_continuation(text[i]) ? 1U : 0U;
  }
  return static_cast<std::uint32_t>(count);
}

// The offset at which the next line begins for a parser; the end of the text when there is none.
std::size_t behind_line(std::string_view text, std::size_t at, bool has_wide_line_ends) {
  constexpr std::string_view kNextLine = "\xC2\x85";
  constexpr std::string_view kLineSeparator = "\xE2\x80\xA8";
  for (; at < text.size(); ++at) {
    const std::string_view rest = text.substr(at);
    if (rest.front() == '\r') {
      const std::string_view second = rest.substr(1);
      const bool has_next_line = has_wide_line_ends && second.starts_with(kNextLine);
      return at + 1 + (has_next_line ? kNextLine.size() : second.starts_with('\n') ? 1 : 0);
    }
    if (rest.front() == '\n') {
      return at + 1;
    }
    if (has_wide_line_ends && rest.starts_with(kNextLine)) {
      return at + kNextLine.size();
    }
    if (has_wide_line_ends && rest.starts_with(kLineSeparator)) {
      return at + kLineSeparator.size();
    }
  }
  return at;
}

}  // namespace

StartTags::StartTags(std::string_view text)
    : m_text(text), m_has_returns(text.find('\r') != std::string_view::npos) {
  if (text.starts_with(kByteOrderMark)) {
    m_search = m_counted = kByteOrderMark.size();
  }
}

// In a well-formed document each "<" of a text or a tag begins markup.
Place StartTags::next() {
  for (;;) {
    m_search = std::min(m_text.find('<', m_search), m_text.size());
    const std::string_view rest = m_text.substr(m_search);
    if (rest.starts_with("<!--")) {
      m_search += std::strlen("<!--");
      skip_past("-->");
    } else if (rest.starts_with("<![CDATA[")) {
      skip_past("]]>");
    } else if (rest.starts_with("<?")) {
      skip_past("?>");
    } else if (rest.starts_with("<!")) {
      advance_to(m_search);
      m_doctype = m_place;
      skip_doctype();
    } else if (rest.starts_with("</")) {
      ++m_search;
    } else {
      break;
    }
  }
  advance_to(m_search);
  m_search = std::min(m_search + 1, m_text.size());
  return m_place;
}

void StartTags::skip_past(std::string_view mark) {
  const std::size_t found = m_text.find(mark, m_search);
  m_search = found == std::string_view::npos ? m_text.size() : found + mark.size();
}

// A document type declaration ends with the first ">" outside its brackets, literals, comments and
// processing instructions.
void StartTags::skip_doctype() {
  bool in_subset = false;
  m_search += std::strlen("<!");
  while (m_search < m_text.size()) {
    const std::string_view rest = m_text.substr(m_search);
    if (rest.starts_with("<!--")) {
      m_search += std::strlen("<!--");
      skip_past("-->");
      continue;
    }
    if (rest.starts_with("<?")) {
      skip_past("?>");
      continue;
    }
    ++m_search;
    switch (rest.front()) {
      case '"':
      case '\'':
        skip_past(rest.substr(0, 1));
        break;
      case '[':
        in_subset = true;
        break;
      case ']':
        in_subset = false;
        break;
      case '>':
        if (!in_subset) {
          return;
        }
        break;
      default:
        break;
    }
  }
}

void StartTags::advance_to(std::size_t offset) {
  const char* at = m_text.data() + m_counted;
  const char* const end = m_text.data() + offset;
  m_counted = offset;
  const auto line_end = [&]() {
    return m_has_returns ? std::find_if(at, end, [](char c) { return c == '\n' || c == '\r'; })
                         : std::find(at, end, '\n');
  };
  for (const char* found = line_end(); found != end; found = line_end()) {
    at = found + 1;
    if (*found == '\r' && at != end && *at == '\n') {
      ++at;
    }
    ++m_place.line;
    m_place.column = 1;
  }
  m_place.column += characters(at, static_cast<std::size_t>(end - at));
}

Place place_at(std::string_view text, std::size_t offset) {
  StartTags tags(text);
  tags.advance_to(std::max(offset, tags.m_counted));
  return tags.m_place;
}

Place place_of(std::string_view text, ParserPlace place) {
  std::size_t at = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  for (std::uint64_t line = 1; line < place.line; ++line) {
    at = behind_line(text, at, place.has_wide_line_ends);
  }
  for (std::uint64_t units = 1; units < place.utf16_column && at < text.size(); ++at) {
    if (text[at] == '\r' || text[at] == '\n') {
      break;
    }
    if (!is_continuation(text[at])) {
      units += static_cast<unsigned char>(text[at]) >= 0xF0U ? 2 : 1;  // a surrogate pair
    }
  }
  return place_at(text, at);
}

}  // namespace fwbase::script
