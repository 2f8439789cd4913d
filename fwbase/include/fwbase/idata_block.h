// Data blocks: byte buffers with a read and a write position, and the factory that makes them.
#ifndef FWBASE_IDATA_BLOCK_H
#define FWBASE_IDATA_BLOCK_H

#include <cstddef>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

struct FWBASE_API IDataBlock {
  virtual void release() = 0;
  virtual char* rd_ptr() const = 0;
  virtual void rd_ptr(int n) = 0;
  virtual char* wr_ptr() = 0;
  virtual void wr_ptr(int n) = 0;
  virtual ec::EC copy(const char* buf, unsigned int n) = 0;
  virtual std::size_t data_len() const = 0;
  virtual std::size_t buffer_len() const = 0;
  virtual void* real() = 0;
  virtual int type() const = 0;
  virtual void type(int tag) = 0;
  virtual ~IDataBlock() {}
};

struct FWBASE_API IDataBlockFT {
  virtual ec::EC create(IDataBlock*& block, unsigned int size) = 0;
  virtual void* allocate(unsigned int n) = 0;
  virtual void deallocate(void* p) = 0;
  virtual ~IDataBlockFT() {}
};

}  // namespace fwbase

#endif
