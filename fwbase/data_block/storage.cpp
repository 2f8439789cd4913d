// A message block that has to get its storage itself tells that there is no memory by a record of
// ACE's own log: on standard error, and at the cost of a crash where that log cannot be made for
// want of memory. So the storage is made first.
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
