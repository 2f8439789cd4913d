// Makes data blocks and raw memory.
#ifndef FWBASE_DATA_BLOCK_DATA_BLOCK_FACTORY_H
#define FWBASE_DATA_BLOCK_DATA_BLOCK_FACTORY_H

#include <fwbase/idata_block.h>

namespace fwbase {

class CDataBlockFT final : public IDataBlockFT {
 public:
  /// There is nothing to start or to stop; here to be called like any other component.
  ec::EC init() { return ec::DB_OK; }
  void release() {}

  ec::EC create(IDataBlock*& block, unsigned int size) override;
  void* allocate(unsigned int n) override;
  void deallocate(void* p) override;
};

}  // namespace fwbase

#endif
