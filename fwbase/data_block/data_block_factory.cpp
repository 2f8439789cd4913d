// A data block leaves the factory set up, or not at all.
#include "fwbase/data_block/data_block_factory.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "fwbase/data_block/data_block.h"
#include "fwbase/runlog/runlog.h"

namespace fwbase {

ec::EC CDataBlockFT::create(IDataBlock*& block, unsigned int size) {
  std::unique_ptr<CDataBlock> created(new (std::nothrow) CDataBlock);
  if (!created) {
    RUN_LOG(ERROR, "new CDataBlock 失败");
    return ec::DB_NO_MEMORY;
  }
  const ec::EC initialised = created->init(size);
  block = created.get();  // also on failure, as callers know: the code alone tells
  if (ec::succeeded(initialised)) {
    created.release();
  }
  return initialised;
}

void* CDataBlockFT::allocate(unsigned int n) { return std::malloc(n); }
void CDataBlockFT::deallocate(void* p) { std::free(p); }

}  // namespace fwbase
