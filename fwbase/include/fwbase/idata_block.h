// Data blocks: byte buffers with a read and a write position, and the factory that makes them.
#ifndef FWBASE_IDATA_BLOCK_H
#define FWBASE_IDATA_BLOCK_H

#include <cstddef>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// A byte buffer in which modules pass data. Writes go to the write position, reads come from the
/// read position; both start at the first byte of the buffer.
///
/// Made by IDataBlockFT::create(), ended by release() only.
/// Threads: not synchronised. One thread at a time uses a block. Handing it to another thread (by a
///          queue, say) must order the accesses of both, as for any memory. The storage's reference
///          count is not protected either: duplicates made through real() count as the same block.
/// Trace:   set-up (in IDataBlockFT::create()) and release() trace their entry and exit.
struct FWBASE_API IDataBlock {
  /// Drops this block's reference to the storage (the last one frees it) and destroys the block.
  /// The pointer is invalid afterwards; a second call is an error that is not detected.
  virtual void release() = 0;

  /// The address of the read position, where data_len() bytes may be read.
  virtual char* rd_ptr() const = 0;

  /// Moves the read position by n bytes, back when n is negative. Bounds are not checked: never
  /// read at a position outside the buffer.
  virtual void rd_ptr(int n) = 0;

  /// The address of the write position.
  virtual char* wr_ptr() = 0;

  /// Moves the write position by n bytes, back when n is negative: for use after writing directly
  /// at wr_ptr(). Bounds are not checked.
  virtual void wr_ptr(int n) = 0;

  /// Copies n bytes from buf to the write position and moves the position past these bytes. Always
  /// gives DB_OK. Nothing is copied and the position stays when fewer than n bytes are left after
  /// the write position, when the position is outside the buffer, or when buf is null. To notice,
  /// compare wr_ptr() before and after, or check the space left before.
  FWBASE_RESULT virtual ec::EC copy(const char* buf, unsigned int n) = 0;

  /// The number of bytes between the read and the write position (write minus read).
  virtual std::size_t data_len() const = 0;

  /// The size of the buffer in bytes, as given to create().
  virtual std::size_t buffer_len() const = 0;

  /// The wrapped ACE_Message_Block*, for code that works with ACE. It is a part of the block: never
  /// release it, and never put it behind another message block or into a queue that releases it.
  /// Use its duplicate() there.
  virtual void* real() = 0;

  /// A tag for the user, 0 at first. The library does not interpret it.
  virtual int type() const = 0;

  /// Sets the tag.
  virtual void type(int tag) = 0;

  /// Reached through release() only.
  virtual ~IDataBlock() {}
};

/// Makes data blocks, and hands out plain memory. Keeps no state; any thread may use it.
struct FWBASE_API IDataBlockFT {
  /// Makes a block.
  /// block   receives it; the caller ends it with its release().
  /// size    bytes of its buffer, 0 included. More than 10,240 only cause a record at WARN.
  ///
  /// Returns
  ///   DB_OK         made
  ///   DB_NO_MEMORY  no memory for the block, its buffer or its administration; logged at ERROR.
  ///                 block may have been overwritten and must not be used
  FWBASE_RESULT virtual ec::EC create(IDataBlock*& block, unsigned int size) = 0;

  /// Gives n bytes of plain memory, not initialised, as malloc does; null when memory runs out.
  /// Logs nothing. The caller returns the memory with deallocate().
  virtual void* allocate(unsigned int n) = 0;

  /// Frees what allocate() gave; null does nothing.
  virtual void deallocate(void* p) = 0;

  virtual ~IDataBlockFT() {}
};

}  // namespace fwbase

#endif
