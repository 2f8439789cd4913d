// How a record is kept in the queue.
#ifndef FWBASE_RUNLOG_PACKED_RECORD_H
#define FWBASE_RUNLOG_PACKED_RECORD_H

#include <cstddef>
#include <optional>
#include <vector>

#include "fwbase/runlog/log_record.h"

namespace fwbase {

/// Appends a copy of the record. Throws std::bad_alloc; then nothing is appended.
void pack_record(const LogRecord& record, std::vector<char>& bytes);

/// Takes packed records off the front of bytes, which hold nothing else.
class PackedRecords {
 public:
  explicit PackedRecords(const std::vector<char>& bytes)
      : m_next(bytes.data()), m_end(bytes.data() + bytes.size()) {}

  /// The next record; its texts point into the bytes. Whether it holds a time is not stored: the
  /// caller says. Nothing when none is left.
  std::optional<LogRecord> next(bool with_time);

 private:
  template <typename Field>
  void take(Field& field);
  void take(const char*& text);

  const char* m_next;
  const char* m_end;
};

}  // namespace fwbase

#endif
