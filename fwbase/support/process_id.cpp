// The C library asks the system for the id each time. It changes in a forked child only.
#include "fwbase/support/process_id.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>

namespace fwbase::support {

namespace {

std::atomic<pid_t> id{0};

}  // namespace

pid_t process_id() {
  static const bool watched =
      ::pthread_atfork(nullptr, nullptr, [] { id.store(0, std::memory_order_relaxed); }) == 0;
  const pid_t known = id.load(std::memory_order_relaxed);
  if (known != 0) {
    return known;
  }
  const pid_t asked = ::getpid();
  id.store(watched ? asked : 0, std::memory_order_relaxed);
  return asked;
}

}  // namespace fwbase::support
