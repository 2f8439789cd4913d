// The hashes of tables, by a library whose hashes of short texts are fast.
#ifndef SUPPORT_NAME_HASH_H
#define SUPPORT_NAME_HASH_H

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cstddef>
#include <string_view>

namespace support {

/// Hashes names without making strings of them. It is not noexcept: tables of the standard library
/// then keep the hashes, and compare and hash fewer names.
struct NameHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view name) const {
    return XXH3_64bits(name.data(), name.size());
  }
};

/// Spreads addresses, whose lowest bits are mostly the same, over all bits.
struct AddressHash {
  std::size_t operator()(const void* address) const {
    return XXH3_64bits(&address, sizeof address);
  }
};

}  // namespace support

#endif
