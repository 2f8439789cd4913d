#include "tests/harness/failing_new.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int left_until_failure = 0;  // 0: none is to fail (any more)
thread_local unsigned int failing_forms = 0;
thread_local bool failed = false;

bool refused(fwbase::test::FailingNew::Form form) {
  const bool fails =
      (failing_forms & form) != 0 && left_until_failure > 0 && --left_until_failure == 0;
  failed = failed || fails;
  return fails;
}

void* allocate(std::size_t size, fwbase::test::FailingNew::Form form) {
  return refused(form) ? nullptr : std::malloc(size != 0 ? size : 1);
}

// What containers with a memory resource call, whatever their alignment.
void* allocate_aligned(std::size_t size, std::size_t alignment) {
  const std::size_t whole = (size / alignment + 1) * alignment;
  void* const memory =
      refused(fwbase::test::FailingNew::THROWING) ? nullptr : std::aligned_alloc(alignment, whole);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void* allocate_or_throw(std::size_t size) {
  void* const memory = allocate(size, fwbase::test::FailingNew::THROWING);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

namespace fwbase::test {

FailingNew::FailingNew(int n, Form form) {
  left_until_failure = n;
  failing_forms = form;
  failed = false;
}

FailingNew::~FailingNew() { left_until_failure = 0; }

bool FailingNew::has_failed() const { return failed; }

}  // namespace fwbase::test

void* operator new(std::size_t size) { return allocate_or_throw(size); }
void* operator new[](std::size_t size) { return allocate_or_throw(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, fwbase::test::FailingNew::NOTHROW);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, fwbase::test::FailingNew::NOTHROW);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate_aligned(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
