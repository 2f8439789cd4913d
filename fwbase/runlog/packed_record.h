// How a record is kept in the queue.
#ifndef FWBASE_RUNLOG_PACKED_RECORD_H
#define FWBASE_RUNLOG_PACKED_RECORD_H

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "fwbase/runlog/log_record.h"

namespace fwbase {

/// Appends a copy of the record. Throws std::bad_alloc; then nothing is appended.
void pack_record(const LogRecord& record, std::vector<char>& bytes);

/// The size of the packed record at the front of `bytes`; 0 when there is none.
std::size_t packed_size(std::string_view bytes);

/// Takes packed records off the front of bytes, which hold nothing else.
class PackedRecords {
 public:
  explicit PackedRecords(const std::vector<char>& bytes)
      : PackedRecords(bytes.data(), bytes.data() + bytes.size()) {}
  PackedRecords(const char* begin, const char* end) : m_begin(begin), m_next(begin), m_end(end) {}

  /// The next record; its texts point into the bytes. Nothing when none is left. The bytes do not
  /// tell whether the record has a time: the caller does.
  std::optional<LogRecord> next(bool with_time);

  /// The number of bytes taken.
  std::size_t taken() const { return static_cast<std::size_t>(m_next - m_begin); }

 private:
  template <typename Field>
  void take(Field& field);
  void take(const char*& text);

  const char* m_begin;
  const char* m_next;
  const char* m_end;
};

}  // namespace fwbase

#endif
