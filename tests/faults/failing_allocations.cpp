#include "tests/faults/failing_allocations.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>
#include <new>

namespace {

constexpr int kFrames = 24;

struct Stack {
  void* frames[kFrames];
  int depth;
};

std::atomic<long> live{0};
std::atomic<long> live_size{0};
std::atomic<long> until_failure{0};  // 0: none is to fail
std::atomic<bool> all_from{false};
std::atomic<bool> has_failed{false};
Stack refused;

// Blocks by address, in a table that needs no memory of its own; what finds no place is dropped.
struct Recorded {
  std::atomic<void*> block{nullptr};
  Stack stack;
};
constexpr std::size_t kRecords = 1 << 14;
constexpr std::size_t kPlaces = 32;  // for each block
Recorded records[kRecords];
std::atomic<bool> recording{false};
std::atomic<bool> forgetting{false};
thread_local bool inside = false;  // backtrace() may allocate

void take_stack(Stack& stack) {
  inside = true;
  stack.depth = ::backtrace(stack.frames, kFrames);
  inside = false;
}

void print(const Stack& stack) { ::backtrace_symbols_fd(stack.frames, stack.depth, STDERR_FILENO); }

bool is_refused() {
  if (until_failure.load(std::memory_order_relaxed) == 0 || inside) {
    return false;
  }
  const long left = until_failure.fetch_sub(1);
  if (left > 1) {
    return false;
  }
  // One that came too late, in another thread, puts the counter back to "none" or to "all".
  until_failure = all_from ? 1 : 0;
  if (left < 1 && !all_from) {
    return false;
  }
  if (!has_failed.exchange(true)) {
    take_stack(refused);
  }
  return true;
}

std::size_t first_slot(void* block) {
  return (reinterpret_cast<std::uintptr_t>(block) >> 4) * 2654435761u % kRecords;
}

void record(void* block) {
  for (std::size_t i = 0; i < kPlaces; ++i) {
    Recorded& slot = records[(first_slot(block) + i) % kRecords];
    void* none = nullptr;
    if (slot.block.compare_exchange_strong(none, block)) {
      take_stack(slot.stack);
      return;
    }
  }
}

void forget(void* block) {
  for (std::size_t i = 0; i < kPlaces; ++i) {
    Recorded& slot = records[(first_slot(block) + i) % kRecords];
    void* expected = block;
    if (slot.block.compare_exchange_strong(expected, nullptr)) {
      return;
    }
  }
}

long size_of(void* block) { return static_cast<long>(::malloc_usable_size(block)); }

void* taken(void* block) {
  if (block != nullptr) {
    live.fetch_add(1, std::memory_order_relaxed);
    live_size.fetch_add(size_of(block), std::memory_order_relaxed);
    if (recording && !inside) {
      record(block);
    }
  }
  return block;
}

void given_back(void* block) {
  if (block != nullptr) {
    live.fetch_sub(1, std::memory_order_relaxed);
    live_size.fetch_sub(size_of(block), std::memory_order_relaxed);
    if (forgetting) {
      forget(block);
    }
  }
}

}  // namespace

namespace fwbase::faults {

FailingAllocations::FailingAllocations(int n, Failing failing) {
  [[maybe_unused]] Stack warm;
  take_stack(warm);  // the first one loads a library
  has_failed = false;
  all_from = failing == Failing::kAllFrom;
  until_failure = n;
}

FailingAllocations::~FailingAllocations() {
  all_from = false;
  until_failure = 0;
}

bool FailingAllocations::injected() { return has_failed; }

void print_refused() {
  if (has_failed) {
    print(refused);
  }
}

void print_stack() {
  Stack stack;
  take_stack(stack);
  print(stack);
}

long live_allocations() { return live; }

long live_bytes() { return live_size; }

RecordedAllocations::RecordedAllocations() {
  forgetting = true;
  recording = true;
}

void RecordedAllocations::stop() { recording = false; }

RecordedAllocations::~RecordedAllocations() {
  recording = false;
  forgetting = false;
  std::for_each(std::begin(records), std::end(records),
                [](Recorded& slot) { slot.block = nullptr; });
}

namespace {

bool passes_through(const Stack& stack, std::initializer_list<const char*> functions) {
  return std::any_of(stack.frames, stack.frames + stack.depth, [&](void* frame) {
    Dl_info info;
    if (::dladdr(frame, &info) == 0 || info.dli_sname == nullptr) {
      return false;
    }
    return std::any_of(functions.begin(), functions.end(), [&](const char* function) {
      return std::strstr(info.dli_sname, function) != nullptr;
    });
  });
}

}  // namespace

int RecordedAllocations::print_live(std::initializer_list<const char*> functions) const {
  static constexpr char kHead[] = "still in use, allocated by\n";
  int printed = 0;
  for (const Recorded& slot : records) {
    if (slot.block != nullptr && !passes_through(slot.stack, functions)) {
      [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kHead, sizeof kHead - 1);
      print(slot.stack);
      ++printed;
    }
  }
  return printed;
}

}  // namespace fwbase::faults

#if FWBASE_FAULTS_REPLACE_MALLOC

extern "C" {

// What the C library itself calls these functions.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

static void* no_memory() {
  errno = ENOMEM;
  return nullptr;
}

void* malloc(std::size_t size) { return is_refused() ? no_memory() : taken(__libc_malloc(size)); }

void* calloc(std::size_t count, std::size_t size) {
  return is_refused() ? no_memory() : taken(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
  if (is_refused()) {
    return no_memory();
  }
  given_back(block);
  void* const moved = __libc_realloc(block, size);
  taken(moved != nullptr || size == 0 ? moved : block);
  return moved;
}

void* memalign(std::size_t alignment, std::size_t size) {
  return is_refused() ? no_memory() : taken(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  void* const memory = memalign(alignment, size);
  if (memory == nullptr) {
    return ENOMEM;
  }
  *block = memory;
  return 0;
}

void free(void* block) {
  given_back(block);
  __libc_free(block);
}

}  // extern "C"

#else

namespace {

void* allocate(std::size_t size) {
  return is_refused() ? nullptr : taken(std::malloc(size != 0 ? size : 1));
}

// As the standard library does: the handler may find memory.
void* allocate_or_throw(std::size_t size) {
  for (;;) {
    void* const memory = allocate(size);
    if (memory != nullptr) {
      return memory;
    }
    const std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) {
      throw std::bad_alloc();
    }
    handler();
  }
}

void* allocate_or_null(std::size_t size) noexcept {
  try {
    return allocate_or_throw(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void deallocate(void* memory) {
  given_back(memory);
  std::free(memory);
}

}  // namespace

// What the XML library leaves behind without memory, as in alloc_faults.cpp.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:ucnv_createConverter\n"
         "leak:xercesc_3_2::MemoryManagerImpl::allocate\nleak:PlatformMemory::allocate\n";
}

void* operator new(std::size_t size) { return allocate_or_throw(size); }
void* operator new[](std::size_t size) { return allocate_or_throw(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate_or_null(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate_or_null(size);
}
void operator delete(void* memory) noexcept { deallocate(memory); }
void operator delete[](void* memory) noexcept { deallocate(memory); }
void operator delete(void* memory, std::size_t) noexcept { deallocate(memory); }
void operator delete[](void* memory, std::size_t) noexcept { deallocate(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { deallocate(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { deallocate(memory); }

#endif
