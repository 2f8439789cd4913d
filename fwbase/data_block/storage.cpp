// Makes the storage of a message block before the message block. A message block that makes its own
// storage reports a lack of memory to ACE's log, on standard error. When there is no memory for
// that log either, the process crashes.
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
