// Input from outside the script: files and the clock.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "command_line/descriptor.h"
#include "fwstd/functions.h"

namespace fwstd {

namespace {

std::string cannot_read(const std::string& path, const std::string& why) {
  return "cannot read '" + path + "': " + why;
}

// Appends up to `size` bytes. False, with errno set, when reading fails. Does not rely on the size
// of the file, which is 0 for files that the kernel generates.
bool read_some(int descriptor, std::size_t size, std::string& content) {
  while (content.size() < size) {
    char buffer[4096];
    const ssize_t got = read(descriptor, buffer, std::min(sizeof buffer, size - content.size()));
    if (got > 0) {
      content.append(buffer, static_cast<std::size_t>(got));
    } else if (got == 0) {
      break;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

ec::EC read_file(const Call& call, const std::string& path, std::int32_t limit) {
  if (limit < 1) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "the limit is %d bytes, not 1 or more", limit);
  }
  // Not blocking: opening a pipe would wait for its writer.
  const tools::Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file.number() < 0) {
    const int error = errno;
    return fail(call, error == ENOENT ? ec::SCRIPT_NOT_FOUND : ec::SCRIPT_BAD_PARAM,
                cannot_read(path, std::strerror(error)));
  }
  struct stat status {};
  if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return fail(call, ec::SCRIPT_BAD_PARAM, cannot_read(path, "it is not a regular file"));
  }
  std::string content;
  if (!read_some(file.number(), static_cast<std::size_t>(limit) + 1, content)) {
    return fail(call, ec::SCRIPT_BAD_PARAM, cannot_read(path, std::strerror(errno)));
  }
  if (content.size() > static_cast<std::size_t>(limit)) {
    return fail(call, ec::SCRIPT_BAD_PARAM,
                cannot_read(path, "it is longer than " + std::to_string(limit) + " bytes"));
  }
  if (content.find('\0') != content.npos) {
    return fail(call, ec::SCRIPT_BAD_PARAM,
                cannot_read(path, "it holds a zero byte, so it is no text"));
  }
  return call.give(content);
}

ec::EC current_time(const Call& call, const std::string& format) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  // strftime() returns 0 for an empty text and for one that is too long. The blank tells which.
  const std::string pattern = " " + format;
  char text[1 + 256] = "";
  if (localtime_r(&now, &local) == nullptr ||
      std::strftime(text, sizeof text, pattern.c_str(), &local) == 0) {
    return fail(call, ec::SCRIPT_BAD_PARAM,
                "the format '" + format + "' gives no text of up to 255 bytes");
  }
  return call.give(std::string(text + 1));
}

}  // namespace

std::span<Function> input_functions() {
  static Function functions[] = {
      {"read_file",
       "Reads a file.",
       {param("path"), param("limit", "in bytes").or_else(65536)},
       read_file},
      {"current_time",
       "Tells the local time.",
       {param("format", "as for strftime").or_else("%Y-%m-%d %H:%M:%S")},
       current_time},
  };
  return functions;
}

}  // namespace fwstd
