#include "output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/text.h"

namespace fwmod {

Status write_out(const std::string& text, Status status) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    complain(std::string("cannot write to standard output: ") + std::strerror(errno));
    return kNotChecked;
  }
  return status;
}

void complain(const std::string& message) {
  const std::string line = "fwmod: " + tools::escaped(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace fwmod
