// Data blocks beside a model: a buffer and two positions.
//
// Input: two bytes for the size, then a byte for each operation and its arguments behind it.
#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/harness/check.h"
#include "fuzz/harness/input.h"
#include "fwbase/data_block/data_block_factory.h"

namespace {

using fwbase::CDataBlockFT;
using fwbase::IDataBlock;
using fwbase::fuzz::Input;

class BlockRun {
 public:
  explicit BlockRun(unsigned int size) : m_buffer(size, '\0') {
    FUZZ_CHECK(CDataBlockFT().create(m_block, size) == ec::DB_OK);
    m_start = m_block->wr_ptr();
    if (size > 0) std::memset(m_start, 0, size);
  }
  ~BlockRun() { m_block->release(); }
  BlockRun(const BlockRun&) = delete;
  BlockRun& operator=(const BlockRun&) = delete;

  void step(Input& input) {
    switch (input.below(6)) {
      case 0:
        move_read(distance(input));
        break;
      case 1:
        move_write(distance(input));
        break;
      case 2:
        m_type = static_cast<int>(input.word()) - 0x8000;
        m_block->type(m_type);
        break;
      case 3:
        FUZZ_CHECK(m_block->copy(nullptr, input.byte()) == ec::DB_OK);
        break;
      default:
        copy(input.text());
    }
    check();
  }

 private:
  static int distance(Input& input) { return static_cast<int>(input.byte()) - 128; }

  // Positions may lie behind the buffer. In front of it, and where there is no buffer, there are no
  // addresses to give.
  bool has_address(long position) const {
    return position == 0 || (position > 0 && !m_buffer.empty());
  }

  void move_read(int n) {
    if (!has_address(m_read + n)) return;
    m_block->rd_ptr(n);
    m_read += n;
  }

  void move_write(int n) {
    if (!has_address(m_write + n)) return;
    m_block->wr_ptr(n);
    m_write += n;
  }

  void copy(const std::string& bytes) {
    FUZZ_CHECK(m_block->copy(bytes.data(), static_cast<unsigned int>(bytes.size())) == ec::DB_OK);
    const auto size = static_cast<long>(m_buffer.size());
    const bool fits =
        m_write >= 0 && m_write <= size && static_cast<long>(bytes.size()) <= size - m_write;
    if (!fits) return;
    m_buffer.replace(static_cast<std::size_t>(m_write), bytes.size(), bytes);
    m_write += static_cast<long>(bytes.size());
  }

  void check() const {
    FUZZ_CHECK(m_block->rd_ptr() - m_start == m_read);
    FUZZ_CHECK(m_block->wr_ptr() - m_start == m_write);
    FUZZ_CHECK(m_block->data_len() == static_cast<std::size_t>(m_write - m_read));
    FUZZ_CHECK(m_block->buffer_len() == m_buffer.size());
    FUZZ_CHECK(m_block->type() == m_type);
    FUZZ_CHECK(std::string(m_start, m_start != nullptr ? m_buffer.size() : 0) == m_buffer);
  }

  IDataBlock* m_block = nullptr;
  char* m_start = nullptr;
  std::string m_buffer;
  long m_read = 0;
  long m_write = 0;
  int m_type = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  BlockRun run(input.word() % 20'000);
  while (!input.at_end()) run.step(input);
  return 0;
}
