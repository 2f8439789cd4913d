// A message block that has to get its data block itself tells that there is no memory by a record
// of ACE's own log: on standard error, and at the cost of a crash where that log cannot be made for
// want of memory. So the data block is made first.
#include "fwbase/data_block/message_block.h"

#include <ace/Malloc_Base.h>

#include <cerrno>
#include <new>

namespace fwbase {

namespace {

struct DataRelease {
  void operator()(ACE_Data_Block* data) const { data->release(); }
};
using DataPtr = std::unique_ptr<ACE_Data_Block, DataRelease>;

// In memory of the allocator that the data block goes back to.
DataPtr new_data_block(std::size_t size) {
  ACE_Allocator* const allocator = ACE_Allocator::instance();
  void* const memory = allocator->malloc(sizeof(ACE_Data_Block));
  if (memory == nullptr) {
    return nullptr;
  }
  DataPtr data(new (memory) ACE_Data_Block(size, ACE_Message_Block::MB_DATA, nullptr, allocator,
                                           nullptr, 0, allocator));
  // One of no bytes needs no buffer.
  return data->base() != nullptr || size == 0 ? std::move(data) : nullptr;
}

}  // namespace

MessagePtr new_message_block(std::size_t size) {
  // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): DataPtr gives the memory back to its allocator
  DataPtr data = new_data_block(size);
  MessagePtr block(data ? new (std::nothrow) ACE_Message_Block(data.get()) : nullptr);
  if (!block) {
    errno = ENOMEM;
    return nullptr;
  }
  data.release();  // the block's now
  return block;
}

}  // namespace fwbase
