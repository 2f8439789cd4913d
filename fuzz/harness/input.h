// The bytes of one input, taken off its front piece by piece.
#ifndef FWBASE_FUZZ_HARNESS_INPUT_H
#define FWBASE_FUZZ_HARNESS_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fwbase::fuzz {

/// Every piece exists: what is asked for behind the end is zero or empty.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : m_rest(reinterpret_cast<const char*>(data), size) {}

  bool at_end() const { return m_rest.empty(); }

  unsigned int byte() {
    if (m_rest.empty()) {
      return 0;
    }
    const unsigned int value = static_cast<unsigned char>(m_rest.front());
    m_rest.remove_prefix(1);
    return value;
  }

  /// One byte's choice among limit things.
  unsigned int below(unsigned int limit) { return byte() % limit; }

  bool flag() { return (byte() & 1) != 0; }

  /// Two bytes, the high one first.
  unsigned int word() {
    const unsigned int high = byte();
    return high << 8 | byte();
  }

  std::string bytes(std::size_t count) {
    std::string taken(m_rest.substr(0, count));
    m_rest.remove_prefix(taken.size());
    return taken;
  }

  /// A text behind a byte that is its length.
  std::string text() { return bytes(byte()); }

  /// The bytes up to the next line feed, which goes as well.
  std::string line() {
    std::string taken = bytes(std::min(m_rest.find('\n'), m_rest.size()));
    byte();
    return taken;
  }

  std::string rest() { return bytes(m_rest.size()); }

 private:
  std::string_view m_rest;
};

}  // namespace fwbase::fuzz

#endif
