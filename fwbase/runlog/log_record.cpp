// Layout of a record:
//   [ERROR]: pid:4711 tid:4711 Wed Oct 29 10:20:30 2014 location\r\n >message\n
// where the details between the tag and the location appear only as far as they are given.
#include "fwbase/runlog/log_record.h"

#include <cstring>

namespace fwbase {

namespace {

constexpr std::size_t kDetailsRoom = 96;  // tag, numbers, time and separators together

const char* tag(IRunLog::Type type) {
  switch (type) {
    case IRunLog::TRACE:
      return "[TRACE]:";
    case IRunLog::DEBUG:
      return "[DEBUG]:";
    case IRunLog::WARN:
      return "[WARN ]:";
    case IRunLog::ERROR:
      return "[ERROR]:";
    case IRunLog::ALERT:
      return "[ALERT]:";
    case IRunLog::DUMP:
      return "[DUMP ]:";
  }
  return "[NULL ]:";
}

void append_id(std::string& text, const char* label, std::int32_t id) {
  if (id != 0) {
    text += label;
    text += std::to_string(id);
  }
}

void append_time(std::string& text, const std::optional<std::time_t>& time) {
  char buffer[64];  // 26 bytes for the years that people live in
  if (time && ctime_r(&*time, buffer) != nullptr) {
    text += ' ';
    text += buffer;
  }
}

// Deletes the line end that ctime leaves between the time and the location. Without a time it is
// the location's first line end that goes.
void delete_first_newline(std::string& text) {
  const std::size_t newline = text.find('\n');
  if (newline != std::string::npos) {
    text.erase(newline, 1);
  }
}

}  // namespace

std::string record_text(const LogRecord& record) {
  const std::size_t location_length = std::strlen(record.location);
  const std::size_t message_length = std::strlen(record.message);
  std::string text;
  text.reserve(kDetailsRoom + location_length + message_length);
  text += tag(record.type);
  append_id(text, " pid:", record.pid);
  append_id(text, " tid:", record.tid);
  append_time(text, record.time);
  text += ' ';
  text.append(record.location, location_length);
  delete_first_newline(text);
  text += "\r\n >";
  text.append(record.message, message_length);
  text += '\n';
  return text;
}

}  // namespace fwbase
