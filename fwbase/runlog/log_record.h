// One log record and its text.
#ifndef FWBASE_RUNLOG_LOG_RECORD_H
#define FWBASE_RUNLOG_LOG_RECORD_H

#include <cstdint>
#include <ctime>
#include <memory_resource>
#include <optional>
#include <string>
#include <vector>

#include <fwbase/irunlog.h>

namespace fwbase {

/// What a record is made from. Does not own its texts.
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
      : m_bytes(memory), m_ends(memory) {}
  RecordTexts(const RecordTexts&) = delete;
  RecordTexts& operator=(const RecordTexts&) = delete;

  /// Appends a record. False without memory: nothing is appended then, and errno is ENOMEM.
  bool add(const LogRecord& record);

  /// Gives back room that few records need, and keeps the rest for the next ones.
  void clear();

  std::size_t count() const { return m_ends.size(); }
  const std::pmr::string& bytes() const { return m_bytes; }

  /// Where a record begins and ends in bytes().
  std::size_t begin_of(std::size_t record) const { return record == 0 ? 0 : m_ends[record - 1]; }
  std::size_t end_of(std::size_t record) const { return m_ends[record]; }

 private:
  std::pmr::string m_bytes;
  std::pmr::vector<std::size_t> m_ends;
};

}  // namespace fwbase

#endif
