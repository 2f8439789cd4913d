// The C library asks the system for the id each time. It is kept here in a page that the system
// empties in each child, whether that is made by fork(), which runs handlers, or without them.
#include "support/process_id.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <new>

namespace support {

namespace {

using Id = std::atomic<pid_t>;

// Null where the system empties no pages: it is asked each time then. Never given back: threads
// may log while the process ends.
Id* new_kept_id() noexcept {
  void* const page =
      // cppcheck-suppress invalidFunctionArg  ; no file is mapped
      ::mmap(nullptr, sizeof(Id), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (page == MAP_FAILED) {
    return nullptr;
  }
  if (::madvise(page, sizeof(Id), MADV_WIPEONFORK) != 0) {
    ::munmap(page, sizeof(Id));
    return nullptr;
  }
  return new (page) Id(0);
}

Id* const kept_id = new_kept_id();  // made when the library is loaded; null before

}  // namespace

pid_t process_id() {
  if (kept_id == nullptr) {
    return ::getpid();
  }
  const pid_t known = kept_id->load(std::memory_order_relaxed);
  if (known != 0) {
    return known;
  }
  const pid_t asked = ::getpid();
  kept_id->store(asked, std::memory_order_relaxed);
  return asked;
}

}  // namespace support
