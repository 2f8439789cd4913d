// A message block that has to get its storage itself tells that there is no memory by a record of
// ACE's own log: on standard error, and at the cost of a crash where that log cannot be made for
// want of memory. So the storage is made first.
#include "fwbase/data_block/storage.h"

#include <cerrno>
#include <new>

namespace fwbase {

StoragePtr new_storage(std::size_t size) {
  StoragePtr storage(new (std::nothrow) ACE_Data_Block(size, ACE_Message_Block::MB_DATA, nullptr,
                                                       nullptr, nullptr, 0, nullptr));
  if (storage != nullptr && (storage->base() != nullptr || size == 0)) {  // no bytes: no buffer
    return storage;
  }
  errno = ENOMEM;
  return nullptr;
}

}  // namespace fwbase
