// The exit status, and how records and complaints are written.
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

/// Thrown when the reader of standard output has gone.
struct ClosedPipe {};

/// Thrown, after a complaint, when standard output cannot be written.
struct OutputFailed {};

/// Collects output for standard output, or another descriptor, into large writes.
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

  /// Writes what is collected. Throws ClosedPipe or OutputFailed; stops silently after Ctrl-C.
  void flush();

 private:
  static constexpr std::size_t kSize = 64 * 1024;

  void add_large(std::string_view text);

  const int m_descriptor;
  std::string m_buffer;
};

/// As tools::complain(), with arguments in any encoding.
void complain(const tools::Message& message, tools::MessageArguments arguments = {});

/// Complains that a file cannot be read.
/// reason   an errno
void complain_unreadable(const std::string& name, int reason);

}  // namespace fwlog

#endif
