// The copy is a file without a name, which others open through its descriptor.
#include "command_line/standard_input.h"

#include <sys/mman.h>
#include <unistd.h>

#include "command_line/command.h"
#include "support/uninterrupted.h"

namespace tools {

namespace {

// Beyond the limit of a script, which loading and checking refuse.
constexpr off_t kMost = (off_t{256} << 20) + 1;

// False when reading or writing failed.
bool copy_standard_input(int to) {
  char buffer[65536];
  for (off_t copied = 0; copied < kMost;) {
    const ssize_t got =
        support::uninterrupted([&] { return read(STDIN_FILENO, buffer, sizeof buffer); });
    if (got <= 0 || write_all(to, {buffer, static_cast<std::size_t>(got)}) != 0) {
      return got == 0;
    }
    copied += got;
  }
  return true;
}

}  // namespace

StandardInput::StandardInput()
    : m_copy(memfd_create("script", MFD_CLOEXEC)),
      m_is_read(m_copy.number() >= 0 && copy_standard_input(m_copy.number())) {}

std::string StandardInput::path() const {
  return "/proc/self/fd/" + std::to_string(m_is_read ? m_copy.number() : -1);
}

}  // namespace tools
