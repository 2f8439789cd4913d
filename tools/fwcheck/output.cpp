// Modules may write to standard output, too. Results go to a descriptor of their own.
#include "output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace fwcheck {

namespace {

int standard_output = STDOUT_FILENO;

}  // namespace

void take_standard_output() {
  const int kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (kept >= 0 && dup2(STDERR_FILENO, STDOUT_FILENO) >= 0) {
    standard_output = kept;
  }
}

bool is_terminal() { return isatty(standard_output) != 0; }

bool write_out(const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t count = write(standard_output, text.data() + written, text.size() - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
    } else if (errno == EPIPE) {
      return true;
    } else if (errno != EINTR) {
      complain({"cannot write to standard output: {1}", "无法写入标准输出：{1}"},
               {tools::reason_of(errno)});
      return false;
    }
  }
  return true;
}

}  // namespace fwcheck
