// 06: data blocks, handed from one thread to another by a queue.
#include <fwbase/fwbase.h>

#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

using fwbase::IDataBlock;
using fwbase::IFWBase;

namespace {

// A block has one owner at a time, who ends it with release().
struct Release {
  void operator()(IDataBlock* block) const { block->release(); }
};
using Block = std::unique_ptr<IDataBlock, Release>;

// Blocks are not synchronised. The mutex orders what two threads do with a block: what was written
// before push() can be read after pop(). (Code that works with ACE would queue the result of
// real(), an ACE_Message_Block*.)
class Queue {
 public:
  void push(Block block) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_blocks.size() < kLimit; });
    m_blocks.push_back(std::move(block));
    m_changed.notify_all();
  }

  Block pop() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_blocks.empty(); });
    Block block = std::move(m_blocks.front());
    m_blocks.pop_front();
    m_changed.notify_all();
    return block;
  }

 private:
  static constexpr std::size_t kLimit = 2;  // a faster producer waits

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<Block> m_blocks;
};

// The tag of a block is the user's. Here it says what the block is.
enum Tag : int { kWords = 1, kLastWords = 2 };

// Gives null when memory runs out.
Block make_block() {
  IDataBlock* made = nullptr;
  // On failure `made` must not be looked at.
  if (ec::failed(IFWBase::instance()->db_ft()->create(made, 16))) return nullptr;
  made->type(kWords);
  return Block(made);
}

// The bytes left after the write position, as long as nothing was read.
std::size_t room(const IDataBlock& block) { return block.buffer_len() - block.data_len(); }

// A word is its length in one byte, then its characters.
void put(IDataBlock& block, const std::string& word) {
  // Write at the write position and move it ...
  *block.wr_ptr() = static_cast<char>(word.size());
  block.wr_ptr(1);
  // ... or let copy() do both. It copies all or nothing and gives DB_OK in both cases, so callers
  // check the space before.
  block.copy(word.data(), static_cast<unsigned int>(word.size()));
}

// Packs words into blocks, as many as fit. The last block in the queue is tagged as such, or is
// null.
void produce(Queue& queue) {
  Block block = make_block();
  for (const std::string word : {"data", "goes", "from", "thread", "to", "thread", "unharmed"}) {
    if (block && room(*block) < 1 + word.size()) {
      queue.push(std::move(block));  // no longer ours
      block = make_block();
    }
    if (!block) break;
    put(*block, word);
  }
  if (block) block->type(kLastWords);
  queue.push(std::move(block));
}

// Reads at the read position and moves it. data_len() is the distance between the positions.
std::string take(IDataBlock& block) {
  const auto length = static_cast<unsigned char>(*block.rd_ptr());
  block.rd_ptr(1);
  std::string word(block.rd_ptr(), length);
  block.rd_ptr(length);
  return word;
}

void consume(Queue& queue) {
  for (bool last = false; !last;) {
    const Block block = queue.pop();
    last = !block || block->type() == kLastWords;
    if (!block) continue;
    std::printf("%zu of %zu bytes:", block->data_len(), block->buffer_len());
    while (block->data_len() > 0) std::printf(" %s", take(*block).c_str());
    std::printf("\n");
  }  // each block is released here
}

}  // namespace

int main() {
  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init())) return 1;

  Queue queue;
  std::thread producer(produce, std::ref(queue));
  consume(queue);
  producer.join();

  fw->release();
}
