// A data block: one ACE_Message_Block and a tag.
#ifndef FWBASE_DATA_BLOCK_DATA_BLOCK_H
#define FWBASE_DATA_BLOCK_DATA_BLOCK_H

#include <fwbase/idata_block.h>

#include <ace/Message_Block.h>

#include <optional>

namespace fwbase {

class CDataBlock final : public IDataBlock {
 public:
  ~CDataBlock() override;

  /// Sets the block up with a buffer of `size` bytes, before anything else is called.
  /// DB_NO_MEMORY: it has none; all that may be done with it is to delete it.
  ec::EC init(unsigned int size);

  void release() override;
  char* rd_ptr() const override;
  void rd_ptr(int n) override;
  char* wr_ptr() override;
  void wr_ptr(int n) override;
  ec::EC copy(const char* buf, unsigned int n) override;
  std::size_t data_len() const override;
  std::size_t buffer_len() const override;
  void* real() override;
  int type() const override;
  void type(int tag) override;

 private:
  std::optional<ACE_Message_Block> m_block;  // none until init()
  int m_type = 0;
};

}  // namespace fwbase

#endif
