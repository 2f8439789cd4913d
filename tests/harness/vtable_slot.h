// Which slot of the table of virtual functions an operation has: what binary compatibility hangs
// on.
#ifndef FWBASE_TESTS_HARNESS_VTABLE_SLOT_H
#define FWBASE_TESTS_HARNESS_VTABLE_SLOT_H

#include <cstddef>
#include <cstring>

namespace fwbase::test {

/// The slot, counted from 0, of a virtual member function. By the C++ ABI of GCC and Clang the
/// first word of the pointer is the byte offset in the table, plus one.
template <typename MemberFunction>
std::size_t slot_of(MemberFunction function) {
  std::size_t word = 0;
  static_assert(sizeof(function) >= sizeof(word));
  std::memcpy(&word, &function, sizeof(word));
  return (word & ~std::size_t{1}) / sizeof(void*);
}

}  // namespace fwbase::test

#endif
