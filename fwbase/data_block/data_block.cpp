// A data block keeps its storage and its positions in a message block.
#include "fwbase/data_block/data_block.h"

#include "fwbase/data_block/storage.h"
#include "fwbase/runlog/runlog.h"

namespace fwbase {

namespace {
constexpr unsigned int kLargeSize = 10240;  // bytes; more are reported
}  // namespace

ec::EC CDataBlock::init(unsigned int size) {
  RUN_TRACE(GBK("数据块构造"));
  if (size > kLargeSize) {
    RUN_LOG(WARN, "分配较大DataBlock: %d(B)", size);
  }
  // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): the storage gives its memory back to its allocator
  StoragePtr storage = new_storage(size);
  if (!storage) {
    RUN_LOG(ERROR, "new ACE_Message_Block( %d ) 失败.", size);
    return ec::DB_NO_MEMORY;
  }
  m_block.emplace(storage.release());
  return ec::DB_OK;
}

// Releases the message blocks that the user has chained behind this one before the block itself, in
// the order of ACE_Message_Block::release().
CDataBlock::~CDataBlock() {
  if (m_block && m_block->cont() != nullptr) {
    m_block->cont()->release();
  }
}

void CDataBlock::release() {
  RUN_TRACE(GBK("数据块释放"));
  delete this;
}

char* CDataBlock::rd_ptr() const { return m_block->rd_ptr(); }

// A position is an unsigned distance from the start of the buffer: adding a negative number
// converted to it moves back.
void CDataBlock::rd_ptr(int n) { m_block->rd_ptr(static_cast<std::size_t>(n)); }

char* CDataBlock::wr_ptr() { return m_block->wr_ptr(); }
void CDataBlock::wr_ptr(int n) { m_block->wr_ptr(static_cast<std::size_t>(n)); }

ec::EC CDataBlock::copy(const char* buf, unsigned int n) {
  // The message block itself compares n with the space left only, which wraps around when the
  // position was moved out of the buffer.
  const std::size_t written = m_block->wr_ptr() - m_block->base();
  if (buf != nullptr && written <= m_block->size()) {
    m_block->copy(buf, n);
  }
  return ec::DB_OK;
}

std::size_t CDataBlock::data_len() const { return m_block->length(); }
std::size_t CDataBlock::buffer_len() const { return m_block->size(); }
void* CDataBlock::real() { return &*m_block; }
int CDataBlock::type() const { return m_type; }
void CDataBlock::type(int tag) { m_type = tag; }

}  // namespace fwbase
