// The storage of data blocks: ACE's data blocks, which message blocks share.
#ifndef FWBASE_DATA_BLOCK_STORAGE_H
#define FWBASE_DATA_BLOCK_STORAGE_H

#include <ace/Message_Block.h>

#include <cstddef>
#include <memory>

namespace fwbase {

struct StorageRelease {
  void operator()(ACE_Data_Block* storage) const { storage->release(); }
};

/// Holds one reference to a storage.
using StoragePtr = std::unique_ptr<ACE_Data_Block, StorageRelease>;

/// A storage with a buffer of `size` bytes. Null without memory; errno is ENOMEM then.
StoragePtr new_storage(std::size_t size);

}  // namespace fwbase

#endif
