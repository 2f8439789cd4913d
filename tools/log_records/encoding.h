// Logs as UTF-8. docs/encodings.md has the rule that distinguishes GBK from UTF-8.
#ifndef LOG_RECORDS_ENCODING_H
#define LOG_RECORDS_ENCODING_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "command_line/utf8.h"

namespace log_records {

enum class Encoding {
  kAuto,  ///< GBK with pieces of UTF-8 in it
  kGbk,
  kGb18030,
  kUtf8
};

/// How one text is to be read.
enum class Reading { kUtf8, kGbk, kGbkWithUtf8, kGb18030 };

using tools::utf8_length;

/// The length of the ASCII that `text` begins with.
std::size_t ascii_length(std::string_view text);

/// Decodes a text piece by piece to valid UTF-8. Each byte that is no character becomes U+FFFD. No
/// piece divides a character.
class Pieces {
 public:
  Pieces(std::string_view text, Reading reading);
  ~Pieces();
  Pieces(const Pieces&) = delete;
  Pieces& operator=(const Pieces&) = delete;

  /// Gets the next piece, which is valid until the next call. False at the end.
  bool next(std::string_view& piece);

 private:
  struct Converter;

  void take_character();
  void take_utf8(std::size_t length);
  void take_unknown_byte();
  bool take_gbk_pair();
  bool take_utf8_run();
  void take_gb18030();

  std::string_view m_left;
  const Reading m_reading;
  const char* m_no_run_before = nullptr;  // before this no run of UTF-8 is long enough
  std::size_t m_run_left = 0;             // bytes of a long run that are not taken yet
  std::size_t m_size = 0;
  std::array<char, 512> m_piece;
};

/// How to read `text`, a message or a location, of a log with this encoding.
Reading reading_of(std::string_view text, Encoding encoding);

/// Appends `text` as UTF-8.
void append_decoded(std::string_view text, Reading reading, std::string& out);

/// True where the system can read GB18030.
bool has_gb18030();

}  // namespace log_records

#endif
