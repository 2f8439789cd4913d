// A text that is put together on the stack and cut where its room ends.
#ifndef FWBASE_RUNLOG_BOUNDED_TEXT_H
#define FWBASE_RUNLOG_BOUNDED_TEXT_H

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace fwbase {

/// Has the limit of IRunLog::FormatStr: 1,022 bytes at most.
class BoundedText {
 public:
  static constexpr std::size_t kLimit = 1022;

  // cppcheck-suppress uninitMemberVar  ; what is read of the text was added before
  BoundedText() = default;
  BoundedText(const BoundedText&) = delete;
  BoundedText& operator=(const BoundedText&) = delete;

  BoundedText& add(std::string_view piece) {
    m_end += piece.copy(m_end, std::min(piece.size(), room()));
    return *this;
  }

  template <typename Number>
  BoundedText& add_number(Number number, int base) {
    char digits[24];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
    return add({digits, static_cast<std::size_t>(end - digits)});
  }

  /// Adds a text from outside the library. Control characters except the tab are escaped ("\n",
  /// "\r", "\x1b"), so that the text begins no line and moves no cursor. All other bytes are left
  /// alone, since their encoding is unknown.
  void add_foreign(std::string_view piece) {
    piece = piece.substr(0, room());
    while (!piece.empty()) {
      const auto control = std::find_if(piece.begin(), piece.end(), is_control);
      const auto plain = static_cast<std::size_t>(control - piece.begin());
      add(piece.substr(0, plain));
      piece.remove_prefix(plain);
      if (!piece.empty()) {
        add_shown(piece.front());
        piece.remove_prefix(1);
      }
    }
  }

  /// The added text, zero-terminated.
  const char* text() {
    *m_end = '\0';
    return m_text;
  }

 private:
  static bool is_control(char byte) {
    return (static_cast<unsigned char>(byte) < 0x20 && byte != '\t') || byte == 0x7F;
  }

  void add_shown(char control) {
    static constexpr char kDigits[] = "0123456789abcdef";
    if (control == '\n') {
      add("\\n");
    } else if (control == '\r') {
      add("\\r");
    } else {
      const auto code = static_cast<unsigned char>(control);
      const char hex[] = {'\\', 'x', kDigits[code / 16], kDigits[code % 16]};
      add({hex, sizeof hex});
    }
  }

  std::size_t room() const { return static_cast<std::size_t>(m_text + kLimit - m_end); }

  char m_text[kLimit + 1];
  char* m_end = m_text;
};

}  // namespace fwbase

#endif
