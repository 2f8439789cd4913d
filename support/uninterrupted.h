// System calls that signals may interrupt.
#ifndef SUPPORT_UNINTERRUPTED_H
#define SUPPORT_UNINTERRUPTED_H

#include <cerrno>

namespace support {

/// Makes a call until no signal interrupts it. Not for close(): the descriptor is gone by then.
template <typename Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

}  // namespace support

#endif
