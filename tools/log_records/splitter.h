// Finds the records in a file that is read block by block.
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
  std::string_view bytes;    ///< valid until the next call of next() or room()
  std::uint64_t offset = 0;  ///< in the file
  /// The record ends before a tag whose head is not complete, so it may have been one record with
  /// the next. Only set when the splitter looks ahead.
  bool is_ambiguous = false;
};

/// Holds one record and one block (two records when it looks ahead and the next one has no complete
/// head). Examines each byte once.
class Splitter {
 public:
  enum class LookAhead { kNone, kNextHead };
  /// What follows the bytes that were added.
  enum class Behind {
    kMore,   ///< more of the file
    kPause,  ///< more, but later: a record does not wait for the next head
    kEnd     ///< nothing: what is left is the last record
  };

  explicit Splitter(LookAhead look_ahead) : m_look_ahead(look_ahead) {}

  /// Room for the next `size` bytes of the file, or more. Throws std::bad_alloc.
  std::span<char> room(std::size_t size);
  /// Says how many bytes were put into the room.
  void added(std::size_t size) { m_end += size; }

  /// Gets the next record when its end is known: the start of the one after it, or the end of the
  /// file. False otherwise.
  bool next(Behind behind, RecordBytes& record);

  /// The bytes that next() has not taken yet.
  std::string_view rest() const { return {m_bytes.get() + m_begin, m_end - m_begin}; }

  /// Forgets everything and frees the memory. The next byte is the first of the file.
  void restart();
  /// Frees the memory when nothing is left.
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
  std::size_t m_searched = 0;  // before this no tag begins the record after the next
  std::size_t m_looked = 0;    // the same for the end of that record's head
  std::size_t m_end = 0;       // of what was added
  std::uint64_t m_offset = 0;  // of m_begin, in the file
};

}  // namespace log_records

#endif
