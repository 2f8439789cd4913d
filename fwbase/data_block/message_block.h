// Making the blocks that hold the storage of data blocks.
#ifndef FWBASE_DATA_BLOCK_MESSAGE_BLOCK_H
#define FWBASE_DATA_BLOCK_MESSAGE_BLOCK_H

#include <ace/Message_Block.h>

#include <cstddef>
#include <memory>

namespace fwbase {

struct MessageRelease {
  void operator()(ACE_Message_Block* block) const { block->release(); }
};

/// Holds one reference to a block.
using MessagePtr = std::unique_ptr<ACE_Message_Block, MessageRelease>;

/// A block with a buffer of `size` bytes. Null without memory; errno is ENOMEM then.
MessagePtr new_message_block(std::size_t size);

}  // namespace fwbase

#endif
