// Makes the storage of a message block before the message block. A message block that makes its own
// storage reports a lack of memory to ACE's log, on standard error. When there is no memory for
// that log either, the process crashes.
#include "fwbase/data_block/storage.h"

#include <ace/Malloc_Base.h>

#include <cerrno>
#include <new>

namespace fwbase {

StoragePtr new_storage(std::size_t size) {
  // The storage gives its memory back to the allocator that it came from.
  ACE_Allocator* const allocator = ACE_Allocator::instance();
  void* const memory = allocator->malloc(sizeof(ACE_Data_Block));
  if (memory != nullptr) {
    StoragePtr storage(new (memory) ACE_Data_Block(size, ACE_Message_Block::MB_DATA, nullptr,
                                                   allocator, nullptr, 0, allocator));
    if (storage->base() != nullptr || size == 0) {  // no bytes need no buffer
      return storage;
    }
  }
  errno = ENOMEM;
  return nullptr;
}

}  // namespace fwbase
