// One log record and its text.
#ifndef FWBASE_RUNLOG_LOG_RECORD_H
#define FWBASE_RUNLOG_LOG_RECORD_H

#include <cstdint>
#include <ctime>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fwbase/irunlog.h>

namespace fwbase {

/// The parts of a record. Does not own its texts.
struct LogRecord {
  IRunLog::Type type{};
  const char* message = "";   // never null
  const char* location = "";  // never null
  std::optional<std::time_t> time;
  std::int32_t pid = 0;  // 0: left out
  std::int32_t tid = 0;  // 0: left out
};

/// A record of this moment, with the details that the INFO_ bits ask for.
LogRecord new_record(unsigned int details, IRunLog::Type type, const char* message,
                     const char* location);

/// The bytes of records that follow each other, line ends included.
class RecordTexts {
 public:
  explicit RecordTexts(std::pmr::memory_resource* memory = std::pmr::new_delete_resource())
      : m_bytes(memory), m_records(memory) {}
  RecordTexts(const RecordTexts&) = delete;
  RecordTexts& operator=(const RecordTexts&) = delete;

  /// Appends a record. When memory runs out, returns false and appends nothing; errno is ENOMEM.
  ///
  /// mark   a number of the caller's, for mark_of()
  bool add(const LogRecord& record, std::uint64_t mark = 0);

  /// The same for bytes that are a part of a record.
  bool add(std::string_view bytes);

  /// Removes all records. Keeps usual room for the next ones, and frees room that few need.
  void clear();

  std::size_t count() const { return m_records.size(); }
  const std::pmr::string& bytes() const { return m_bytes; }

  /// Where a record begins and ends in bytes().
  std::size_t begin_of(std::size_t record) const { return record == 0 ? 0 : end_of(record - 1); }
  std::size_t end_of(std::size_t record) const { return m_records[record].end; }
  std::uint64_t mark_of(std::size_t record) const { return m_records[record].mark; }

 private:
  struct Added {
    std::size_t end;
    std::uint64_t mark;
  };

  template <typename Append>
  bool add_by(std::uint64_t mark, Append append);

  std::pmr::string m_bytes;
  std::pmr::vector<Added> m_records;
};

}  // namespace fwbase

#endif
