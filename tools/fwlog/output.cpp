// Collects what is written, so that a record costs no system call of its own.
#include "output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

#include "command_line/command.h"
#include "interruption.h"
#include "shown_text.h"

namespace fwlog {

namespace {

void write_all(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EPIPE) {
      throw ClosedPipe();
    } else if (errno != EINTR) {
      complain({"cannot write to standard output: {1}", "无法写入标准输出：{1}"},
               {tools::reason_of(errno)});
      throw OutputFailed();
    } else if (was_interrupted()) {
      return;
    }
  }
}

}  // namespace

void Output::add_large(std::string_view text) {
  while (!text.empty()) {
    const std::size_t fits = std::min(text.size(), kSize - m_buffer.size());
    m_buffer += text.substr(0, fits);
    text.remove_prefix(fits);
    if (m_buffer.size() == kSize) {
      flush();
    }
  }
}

void Output::add_number(std::uint64_t number) {
  char digits[20];
  const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  add({digits, static_cast<std::size_t>(end - digits)});
}

void Output::flush() {
  // The buffer is empty even after a failure, so that nothing is written twice.
  std::string bytes;
  bytes.swap(m_buffer);
  write_all(m_descriptor, bytes);
  bytes.clear();
  m_buffer.swap(bytes);
}

void complain(const tools::Message& message, tools::MessageArguments arguments) {
  tools::complain_text(shown(tools::in_users_language(message, arguments)));
}

void complain_unreadable(const std::string& name, int reason) {
  complain({"cannot read {1}: {2}", "无法读取 {1}：{2}"}, {name, tools::reason_of(reason)});
}

}  // namespace fwlog
