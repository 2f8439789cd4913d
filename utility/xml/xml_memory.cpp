// Blocks by address, so that those the library forgets can be freed, and counts of them.
#include "utility/xml/xml_memory.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <xercesc/internal/XMLReader.hpp>
#include <xercesc/util/PlatformUtils.hpp>

namespace utility {

namespace {

// What the library asks for when it creates a reader: the object behind a pointer to its manager.
std::size_t reader_size() {
  return sizeof(xc::XMLReader) +
         xc::XMLPlatformUtils::alignPointerForNewBlockAllocation(sizeof(xc::MemoryManager*));
}

struct Free {
  void operator()(void* block) const { ::operator delete(block); }
};

}  // namespace

XmlMemory::~XmlMemory() {
  for (const auto& [block, size] : m_blocks) {
    ::operator delete(block);
  }
}

void XmlMemory::watch(std::size_t max_bytes, std::size_t max_expansions, std::size_t max_work) {
  m_watching = true;
  begin_piece();
  m_max_bytes = max_bytes;
  m_readers = 0;
  m_max_readers = max_expansions + 2;  // the document and its external subset have one as well
  m_longest_entity = 0;
  m_uncounted = 0;
  m_work = 0;
  m_max_work = max_work;
}

void XmlMemory::entity_declared(std::size_t length) {
  m_longest_entity = std::max(m_longest_entity, length);
}

void XmlMemory::entity_expanded(std::size_t length) {
  m_uncounted = 0;
  count_work(length);
}

void XmlMemory::count_work(std::size_t amount) {
  m_work += amount;
  if (m_work > m_max_work) {
    throw DocumentRefused();
  }
}

void XmlMemory::count_bytes(std::size_t bytes) {
  if (bytes > m_max_bytes || m_in_use > m_max_bytes - bytes) {
    throw DocumentRefused();
  }
  m_max_bytes -= bytes;
}

void* XmlMemory::allocate(XMLSize_t size) {
  if (m_watching) {
    if (size > m_max_bytes || m_in_use > m_max_bytes - size ||
        m_small_blocks > m_small_blocks_before + kMaxSmallBlocks) {
      throw DocumentRefused();
    }
    if (size == reader_size()) {
      count_reader();
    }
  }
  try {
    std::unique_ptr<void, Free> block(::operator new(size));
    m_blocks.emplace(block.get(), size);
    m_in_use += size;
    if (size <= kSmallBlock) {
      ++m_small_blocks;
    }
    return block.release();
  } catch (const std::bad_alloc&) {
    return allocate_from_reserve(size);
  }
}

void* XmlMemory::allocate_from_reserve(std::size_t size) {
  if (!m_releasing) {
    throw std::bad_alloc();
  }
  void* const block = m_reserve.allocate(size);
  ++m_reserve_blocks;
  return block;
}

bool XmlMemory::is_in_reserve(const void* block) const {
  const std::less<const void*> before;
  return !before(block, m_put_by.get()) && before(block, m_put_by.get() + kReserveSize);
}

void XmlMemory::deallocate(void* block) {
  if (block == nullptr) {
    return;
  }
  if (is_in_reserve(block)) {
    if (--m_reserve_blocks == 0) {
      m_reserve.release();
    }
    return;
  }
  const auto found = m_blocks.find(block);
  if (found == m_blocks.end()) {
    xc::XMLPlatformUtils::fgMemoryManager->deallocate(block);
    return;
  }
  m_in_use -= found->second;
  if (found->second <= kSmallBlock) {
    --m_small_blocks;
  }
  m_blocks.erase(found);
  ::operator delete(block);
}

xc::MemoryManager* XmlMemory::getExceptionMemoryManager() {
  return xc::XMLPlatformUtils::fgMemoryManager;  // an exception may outlive the parser
}

void XmlMemory::count_reader() {
  if (++m_readers > m_max_readers) {
    throw DocumentRefused();
  }
  count_work(std::exchange(m_uncounted, m_longest_entity));
}

}  // namespace utility
