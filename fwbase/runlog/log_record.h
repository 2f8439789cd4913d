// One log record and its text.
#ifndef FWBASE_RUNLOG_LOG_RECORD_H
#define FWBASE_RUNLOG_LOG_RECORD_H

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

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

/// The bytes of a record, its line end included. Throws std::bad_alloc.
std::string record_text(const LogRecord& record);

}  // namespace fwbase

#endif
