// Decodes GBK by the table that the library encodes its messages with, which agrees with the C
// library's iconv. Leaves GB18030, which computes most characters, to iconv.
#include "log_records/encoding.h"

#include <iconv.h>

#include <cstdint>
#include <cstring>

#include "fwbase/runlog/gbk.h"

namespace log_records {

namespace {

typedef unsigned char Byte;

constexpr std::string_view kUnknown = "\xEF\xBF\xBD";  // U+FFFD

constexpr unsigned int kFirstLead = 0x81;
constexpr unsigned int kLeads = 0xFE - kFirstLead + 1;
constexpr unsigned int kFirstTrail = 0x40;
constexpr unsigned int kTrails = 0xFE - kFirstTrail + 1;

typedef std::array<char16_t, kLeads * kTrails> GbkTable;

std::size_t index_of(unsigned int lead, unsigned int trail) {
  return (lead - kFirstLead) * kTrails + (trail - kFirstTrail);
}

void enter(GbkTable& table, char16_t gbk, char16_t unicode) {
  if (gbk != 0) {
    table[index_of(gbk >> 8U, gbk & 0xFFU)] = unicode;
  }
}

// The inverse of the library's table. 0 where a pair is no character.
const GbkTable& gbk_table() {
  static const GbkTable table = [] {
    GbkTable made{};
    char16_t unicode = 0x4E00;
    for (const char16_t gbk : fwbase::gbk::kIdeographs) {
      enter(made, gbk, unicode++);
    }
    for (const fwbase::gbk::CodePair& pair : fwbase::gbk::kOthers) {
      enter(made, pair.gbk, pair.unicode);
    }
    return made;
  }();
  return table;
}

// The character of the pair that the text begins with, 0 when that is none.
char16_t gbk_character(std::string_view text) {
  if (text.size() < 2) {
    return 0;
  }
  const unsigned int lead = static_cast<Byte>(text[0]);
  const unsigned int trail = static_cast<Byte>(text[1]);
  if (lead < kFirstLead || lead > 0xFE || trail < kFirstTrail || trail > 0xFE) {
    return 0;
  }
  return gbk_table()[index_of(lead, trail)];
}

bool is_gbk(std::string_view text) {
  while (true) {
    text.remove_prefix(ascii_length(text));
    if (text.empty()) {
      return true;
    }
    if (gbk_character(text) == 0) {
      return false;
    }
    text.remove_prefix(2);
  }
}

struct Utf8Check {
  bool is_valid = true;
  bool has_long = false;  // a character of three bytes or more
};

Utf8Check check_utf8(std::string_view text) {
  Utf8Check check;
  while (true) {
    text.remove_prefix(ascii_length(text));
    if (text.empty()) {
      return check;
    }
    const std::size_t length = utf8_length(text);
    if (length == 0) {
      check.is_valid = false;
      return check;
    }
    check.has_long = check.has_long || length >= 3;
    text.remove_prefix(length);
  }
}

iconv_t open_gb18030() { return iconv_open("UTF-8", "GB18030"); }

// One for each thread: opening one for each message would take longer than converting it.
iconv_t gb18030() {
  thread_local const std::unique_ptr<void, void (*)(void*)> converter(open_gb18030(), [](void* c) {
    if (c != reinterpret_cast<iconv_t>(-1)) {
      iconv_close(c);
    }
  });
  return converter.get();
}

}  // namespace

std::size_t ascii_length(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + at, sizeof word);
    if ((word & kHighBits) != 0) {
      break;
    }
  }
  while (at < text.size() && static_cast<Byte>(text[at]) < 0x80) {
    ++at;
  }
  return at;
}

Reading reading_of(std::string_view text, Encoding encoding) {
  switch (encoding) {
    case Encoding::kGbk:
      return Reading::kGbk;
    case Encoding::kGb18030:
      return Reading::kGb18030;
    case Encoding::kUtf8:
      return Reading::kUtf8;
    case Encoding::kAuto:
      break;
  }
  text.remove_prefix(ascii_length(text));
  const Utf8Check check = check_utf8(text);
  return check.is_valid && (check.has_long || !is_gbk(text)) ? Reading::kUtf8
                                                             : Reading::kGbkWithUtf8;
}

Pieces::Pieces(std::string_view text, Reading reading) : m_left(text), m_reading(reading) {}

Pieces::~Pieces() = default;

bool Pieces::next(std::string_view& piece) {
  if (m_left.empty()) {
    return false;
  }
  const std::size_t ascii = ascii_length(m_left);
  if (ascii > 0) {
    piece = m_left.substr(0, ascii);
    m_left.remove_prefix(ascii);
    return true;
  }
  m_size = 0;
  // A character takes four bytes at most.
  while (!m_left.empty() && static_cast<Byte>(m_left[0]) >= 0x80 && m_size + 4 <= m_piece.size()) {
    take_character();
  }
  piece = {m_piece.data(), m_size};
  return true;
}

void Pieces::take_character() {
  if (m_reading == Reading::kGb18030) {
    take_gb18030();
    return;
  }
  const bool may_be_gbk = m_reading != Reading::kUtf8;
  if (m_reading == Reading::kGbkWithUtf8 && take_utf8_run()) {
    return;
  }
  if (may_be_gbk && take_gbk_pair()) {
    return;
  }
  const std::size_t length = m_reading == Reading::kGbk ? 0 : utf8_length(m_left);
  if (length > 0) {
    take_utf8(length);
  } else {
    take_unknown_byte();
  }
}

void Pieces::take_utf8(std::size_t length) {
  std::memcpy(m_piece.data() + m_size, m_left.data(), length);
  m_size += length;
  m_left.remove_prefix(length);
}

void Pieces::take_unknown_byte() {
  std::memcpy(m_piece.data() + m_size, kUnknown.data(), kUnknown.size());
  m_size += kUnknown.size();
  m_left.remove_prefix(1);
}

bool Pieces::take_gbk_pair() {
  const char16_t character = gbk_character(m_left);
  if (character == 0) {
    return false;
  }
  char* out = m_piece.data() + m_size;
  if (character < 0x800) {
    *out++ = static_cast<char>(0xC0 | (character >> 6));
  } else {
    *out++ = static_cast<char>(0xE0 | (character >> 12));
    *out++ = static_cast<char>(0x80 | ((character >> 6) & 0x3F));
  }
  *out++ = static_cast<char>(0x80 | (character & 0x3F));
  m_size = static_cast<std::size_t>(out - m_piece.data());
  m_left.remove_prefix(2);
  return true;
}

// Takes one character of a run of UTF-8 in which two or more characters have three bytes or more.
// Each run is examined once: m_run_left and m_no_run_before remember the result.
bool Pieces::take_utf8_run() {
  if (m_run_left == 0) {
    if (m_left.data() < m_no_run_before) {
      return false;
    }
    std::size_t run = 0;
    int long_characters = 0;
    while (run < m_left.size() && static_cast<Byte>(m_left[run]) >= 0x80) {
      const std::size_t length = utf8_length(m_left.substr(run));
      if (length == 0) {
        break;
      }
      long_characters += length >= 3 ? 1 : 0;
      run += length;
    }
    if (long_characters < 2) {
      m_no_run_before = m_left.data() + run;
      return false;
    }
    m_run_left = run;
  }
  const std::size_t length = utf8_length(m_left);
  m_run_left -= length;
  take_utf8(length);
  return true;
}

void Pieces::take_gb18030() {
  // Takes the shortest 2 or 4 bytes that make a character. ASCII does not get here.
  for (std::size_t length = 2; length <= 4 && length <= m_left.size(); length += 2) {
    char* in = const_cast<char*>(m_left.data());
    std::size_t in_left = length;
    char* out = m_piece.data() + m_size;
    std::size_t out_left = m_piece.size() - m_size;
    const bool is_done = iconv(gb18030(), &in, &in_left, &out, &out_left) == 0 && in_left == 0;
    iconv(gb18030(), nullptr, nullptr, nullptr, nullptr);
    if (is_done) {
      m_size = static_cast<std::size_t>(out - m_piece.data());
      m_left.remove_prefix(length);
      return;
    }
  }
  take_unknown_byte();
}

void append_decoded(std::string_view text, Reading reading, std::string& out) {
  Pieces pieces(text, reading);
  std::string_view piece;
  while (pieces.next(piece)) {
    out += piece;
  }
}

bool has_gb18030() {
  const iconv_t converter = open_gb18030();
  if (converter == reinterpret_cast<iconv_t>(-1)) {
    return false;
  }
  iconv_close(converter);
  return true;
}

}  // namespace log_records
