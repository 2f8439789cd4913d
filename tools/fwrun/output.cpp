#include "output.h"

#include <cerrno>
#include <cstdio>

namespace fwrun {

bool write_text(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return true;
  }
  const int error = errno;
  std::clearerr(stdout);
  errno = error;
  return false;
}

Status write_out(const std::string& text) {
  if (!write_text(text)) {
    complain({"cannot write to standard output: {1}", "无法写入标准输出：{1}"},
             {tools::reason_of(errno)});
    return kFailed;
  }
  return kDone;
}

}  // namespace fwrun
