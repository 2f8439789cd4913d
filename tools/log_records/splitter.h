// Finds the records in the bytes of a file, which come block by block.
#ifndef LOG_RECORDS_SPLITTER_H
#define LOG_RECORDS_SPLITTER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace log_records {

/// The bytes of one record, or of what stands before the first one.
struct RecordBytes {
  std::string_view bytes;    ///< until the splitter is asked for the next record, or for room
  std::uint64_t offset = 0;  ///< in the file
  /// The record ends where a line begins with a tag whose head is not complete: it may have been
  /// one record with the next. Known only when the splitter looks ahead.
  bool is_ambiguous = false;
};

/// Holds one record and one block (two records where it looks ahead and the next has no complete
/// head). Each byte is looked at once.
class Splitter {
 public:
  enum class LookAhead { kNone, kNextHead };
  /// What comes behind the bytes that were added.
  enum class Behind {
    kMore,   ///< more of the file
    kPause,  ///< more, but not soon: a record does not wait for the head of the next
    kEnd     ///< nothing: what is left is the last record
  };

  explicit Splitter(LookAhead look_ahead) : m_look_ahead(look_ahead) {}

  /// Room for `size` bytes or more of the file, behind those that were added. Throws
  /// std::bad_alloc.
  std::span<char> room(std::size_t size);
  /// So many bytes were put into the room.
  void added(std::size_t size) { m_end += size; }

  /// The next record, once it is known where it ends: where the next one begins, or at the end.
  bool next(Behind behind, RecordBytes& record);

  /// What next() has not given yet.
  std::string_view rest() const { return {m_bytes.get() + m_begin, m_end - m_begin}; }

  /// Forgets all; the next byte is the first of the file. Gives the memory back.
  void restart();
  /// Gives the memory back if nothing is left.
  void release_memory();

 private:
  struct Freed {
    void operator()(char* bytes) const;
  };
  enum class Head { kComplete, kIncomplete, kUnknown };

  std::string_view bytes() const { return {m_bytes.get(), m_end}; }
  std::size_t find_tag(std::size_t& from, std::size_t to) const;
  Head look_at_head(std::size_t tag);
  bool give(std::size_t end, bool is_ambiguous, RecordBytes& record);

  const LookAhead m_look_ahead;
  std::unique_ptr<char, Freed> m_bytes;
  std::size_t m_capacity = 0;
  std::size_t m_begin = 0;     // of the next record
  std::size_t m_searched = 0;  // up to here no tag begins the record behind it
  std::size_t m_looked = 0;    // likewise, for the end of the head of that record
  std::size_t m_end = 0;       // of what was added
  std::uint64_t m_offset = 0;  // of m_begin, in the file
};

}  // namespace log_records

#endif
