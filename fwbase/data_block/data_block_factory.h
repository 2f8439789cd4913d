// Makes data blocks and raw memory.
#ifndef FWBASE_DATA_BLOCK_DATA_BLOCK_FACTORY_H
#define FWBASE_DATA_BLOCK_DATA_BLOCK_FACTORY_H

#include <fwbase/idata_block.h>

namespace fwbase {

class CDataBlockFT : public IDataBlockFT {
 public:
  ec::EC init() { return ec::DB_OK; }
  void release() {}
  ec::EC create(IDataBlock*&, unsigned int) override { return ec::DB_NO_MEMORY; }
  void* allocate(unsigned int) override { return nullptr; }
  void deallocate(void*) override {}
};

}  // namespace fwbase

#endif
