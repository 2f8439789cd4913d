// The memory of the XML library's parsers and serializers: freed as a whole, and limited.
#ifndef UTILITY_XML_XML_MEMORY_H
#define UTILITY_XML_XML_MEMORY_H

#include "utility/xml/xc.h"

#include <cstddef>
#include <memory>
#include <memory_resource>
#include <unordered_map>
#include <xercesc/framework/MemoryManager.hpp>

namespace utility {

/// Thrown by XmlMemory and DocumentParser, through the XML library, to stop parsing a document
/// that exceeds a limit or is not whole without another file.
struct DocumentRefused {};

/// The memory of one parser and its document, or of one serializer.
///
/// Frees the objects that the XML library forgets: some when an exception passes through it, and
/// one for each document with an external DTD subset.
///
/// Bounds the memory and the work that a hostile document can cost.
///
/// The library reports each entity reference in content, and the expansion counts by the declared
/// length of the entity. The library does not report a reference to a parameter entity, or one in
/// an attribute or a default value, and it expands those before it reports the markup around them.
/// Its SecurityManager counts only references in tags, and no lengths. But each expansion allocates
/// a reader, which this class recognises. The reader does not show its entity, so that the
/// expansion counts as one of the longest entity.
class XmlMemory final : public xc::MemoryManager {
 public:
  XmlMemory() = default;

  /// Frees all blocks that are left.
  ~XmlMemory() override;

  /// Starts counting for one parse: from now on DocumentRefused is thrown when more than max_bytes
  /// are in use, when entities are expanded more than max_expansions times, and when the work
  /// counted, in characters read from expansions, is more than max_work.
  void watch(std::size_t max_bytes, std::size_t max_expansions, std::size_t max_work);

  /// Ends the counting: there are no limits until the next watch().
  void unwatch() { m_watching = false; }

  /// Tells of a declared entity.
  void entity_declared(std::size_t length);

  /// Tells which entity the last expansion was of; without this, it was the longest one.
  void entity_expanded(std::size_t length);

  /// Counts other work that the size of the document does not bound.
  void count_work(std::size_t amount);

  /// Counts bytes that the document takes elsewhere: so many fewer may be in use here.
  void count_bytes(std::size_t bytes);

  /// Begins the next piece of the document, a tag or a declaration, which the library reports only
  /// when it has ended. Looking up the names of a piece may take the square of their number:
  /// DocumentRefused is thrown when a piece allocates too many small blocks and keeps them.
  void begin_piece() { m_small_blocks_before = m_small_blocks; }

  /// For the end of the parser: from now on short-lived blocks may come from a reserve. The library
  /// allocates memory in a destructor, to free a content model: a failure there would end the
  /// process.
  void begin_release() { m_releasing = true; }

  void* allocate(XMLSize_t size) override;

  /// Takes blocks of the default manager as well: the library gives back the text of an XPath
  /// expression to another manager than the one that it got it from.
  void deallocate(void* block) override;

  MemoryManager* getExceptionMemoryManager() override;

  /// What the parser and its document hold at present.
  std::size_t bytes_in_use() const { return m_in_use; }

 private:
  static constexpr std::size_t kReserveSize = std::size_t{16} * 1024;
  static constexpr std::size_t kSmallBlock = 256;  // bytes
  static constexpr std::size_t kMaxSmallBlocks = 40'000;

  void count_reader();
  void* allocate_from_reserve(std::size_t size);
  bool is_in_reserve(const void* block) const;

  std::unordered_map<void*, std::size_t> m_blocks;  // with their sizes
  const std::unique_ptr<char[]> m_put_by = std::make_unique<char[]>(kReserveSize);
  std::pmr::monotonic_buffer_resource m_reserve{m_put_by.get(), kReserveSize,
                                                std::pmr::null_memory_resource()};
  std::size_t m_reserve_blocks = 0;  // in use; without any, all of it is free again
  bool m_releasing = false;
  bool m_watching = false;
  std::size_t m_in_use = 0;
  std::size_t m_max_bytes = 0;
  std::size_t m_small_blocks = 0;
  std::size_t m_small_blocks_before = 0;  // this piece
  std::size_t m_readers = 0;
  std::size_t m_max_readers = 0;
  std::size_t m_longest_entity = 0;
  std::size_t m_uncounted = 0;  // characters of the last expansion while it may still be told
  std::size_t m_work = 0;
  std::size_t m_max_work = 0;
};

}  // namespace utility

#endif
