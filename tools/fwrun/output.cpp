#include "output.h"

#include <cerrno>
#include <cstdio>

#include "command_line/text.h"

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

void complain(const std::string& message) {
  const std::string line = "fwrun: " + tools::escaped(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

void complain(const tools::Message& message, tools::MessageArguments arguments) {
  complain(tools::in_users_language(message, arguments));
}

}  // namespace fwrun
