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

bool wants_colour() { return tools::wants_colour(standard_output); }

bool write_out(const std::string& text) {
  const int error = tools::write_all(standard_output, text);
  if (error == 0 || error == EPIPE) {
    return true;
  }
  complain({"cannot write to standard output: {1}", "无法写入标准输出：{1}"},
           {tools::reason_of(error)});
  return false;
}

}  // namespace fwcheck
