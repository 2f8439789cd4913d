// Layout of a record:
//   [ERROR]: pid:4711 tid:4711 Wed Oct 29 10:20:30 2014 location\r\n >message\n
// where the details between the tag and the location appear only as far as they are given.
#include "fwbase/runlog/log_record.h"

#include <bit>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>

#include "fwbase/runlog/local_time.h"
#include "support/process_id.h"

namespace fwbase {

namespace {

constexpr std::size_t kDetailsRoom = 96;  // tag, numbers, time and separators together
constexpr std::size_t kKeptRoom = 65536;

std::string_view tag(unsigned int type) {
  static constexpr char kTags[][9] = {
      "[TRACE]:", "[DEBUG]:", "[WARN ]:", "[ERROR]:", "[ALERT]:", "[DUMP ]:"};
  const bool is_level = type != 0 && type <= IRunLog::DUMP && (type & (type - 1)) == 0;
  return {is_level ? kTags[std::countr_zero(type)] : "[NULL ]:", 8};
}

void append_id(std::pmr::string& text, std::string_view label, std::int32_t id) {
  if (id != 0) {
    char digits[16];
    text += label;
    text.append(digits, std::to_chars(digits, digits + sizeof digits, id).ptr);
  }
}

// The text of ctime() without its line end; empty for a time that ctime() cannot print. Keeps the
// last text, since making it also checks for another zone, and most records have the same second as
// the one before.
std::string_view time_text(std::time_t time) {
  struct Second {
    std::time_t time = -1;
    std::size_t length = 0;
    char text[64];  // 26 bytes for the years that people live in
  };
  thread_local Second last;
  if (last.length == 0 || last.time != time) {
    std::tm local = {};
    const bool printed =
        local_time().break_down(time, local) && ::asctime_r(&local, last.text) != nullptr;
    last.length = printed ? std::strlen(last.text) - 1 : 0;
    last.time = time;
  }
  return {last.text, last.length};
}

// Leaves out the first line end before the message: ctime's or, without a time, the location's.
void append_details(std::pmr::string& text, const LogRecord& record, std::string_view location) {
  const std::string_view time = record.time ? time_text(*record.time) : std::string_view();
  if (!time.empty()) {
    text += ' ';
    text += time;
  }
  text += ' ';
  const std::size_t newline = time.empty() ? location.find('\n') : std::string_view::npos;
  text += location.substr(0, newline);
  if (newline != std::string_view::npos) {
    text += location.substr(newline + 1);
  }
}

// Throws before anything is appended.
void append_record(std::pmr::string& text, const LogRecord& record) {
  const std::string_view location(record.location);
  const std::string_view message(record.message);
  text.reserve(text.size() + kDetailsRoom + location.size() + message.size());
  text += tag(record.type);
  append_id(text, " pid:", record.pid);
  append_id(text, " tid:", record.tid);
  append_details(text, record, location);
  text += "\r\n >";
  text += message;
  text += '\n';
}

}  // namespace

LogRecord new_record(unsigned int details, IRunLog::Type type, const char* message,
                     const char* location) {
  LogRecord record{type, message, location, {}};
  record.pid = (details & IRunLog::INFO_PID) != 0 ? support::process_id() : 0;
  record.tid = (details & IRunLog::INFO_TID) != 0 ? support::process_id() : 0;  // readers expect it
  if ((details & IRunLog::INFO_TIME) != 0) {
    record.time = std::time(nullptr);
  }
  return record;
}

template <typename Append>
bool RecordTexts::add_by(std::uint64_t mark, Append append) {
  const std::size_t before = m_records.size();
  try {
    m_records.push_back({0, mark});
    append();
    m_records.back().end = m_bytes.size();
    return true;
  } catch (const std::exception&) {
    m_records.resize(before);
    errno = ENOMEM;
    return false;
  }
}

bool RecordTexts::add(const LogRecord& record, std::uint64_t mark) {
  return add_by(mark, [&] { append_record(m_bytes, record); });
}

bool RecordTexts::add(std::string_view bytes) {
  return add_by(0, [&] { m_bytes.append(bytes); });
}

void RecordTexts::clear() {
  if (m_bytes.capacity() > kKeptRoom) {
    m_bytes = std::pmr::string(m_bytes.get_allocator());
  }
  m_bytes.clear();
  m_records.clear();
}

}  // namespace fwbase
