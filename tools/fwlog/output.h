// What fwlog itself writes: records to standard output, messages to standard error. All UTF-8.
#ifndef FWLOG_OUTPUT_H
#define FWLOG_OUTPUT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "command_line/messages.h"

namespace fwlog {

enum Status : int {
  kPassed = 0,
  kNonePassed = 1,
  kFailed = 2,  ///< wrong usage, a file that cannot be read, output that cannot be written
  kInterrupted = 130
};

/// The reader of standard output has gone.
struct ClosedPipe {};

/// Standard output cannot be written; told already.
struct OutputFailed {};

/// Standard output, or another descriptor, collected into large writes.
class Output {
 public:
  explicit Output(int descriptor = 1) : m_descriptor(descriptor) { m_buffer.reserve(kSize); }

  void add(std::string_view text) {
    if (text.size() > kSize - m_buffer.size()) {
      add_large(text);
    } else {
      m_buffer += text;
    }
  }
  void add(char c) { add(std::string_view(&c, 1)); }
  void add_number(std::uint64_t number);

  /// Writes what is collected. Throws ClosedPipe or OutputFailed; an interruption ends it silently.
  void flush();

 private:
  static constexpr std::size_t kSize = 64 * 1024;

  void add_large(std::string_view text);

  const int m_descriptor;
  std::string m_buffer;
};

/// As tools::complain(); names of files among the arguments may be in any encoding.
void complain(const tools::Message& message, tools::MessageArguments arguments = {});

/// Colours are for terminals whose user has nothing against them.
bool wants_colour();

}  // namespace fwlog

#endif
