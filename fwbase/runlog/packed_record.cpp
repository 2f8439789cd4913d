// A packed record, in native byte order:
//   level (4)  message and its zero  location and its zero  pid (4)  tid (4)  time (8)
// The room for the time is there even when no time is stored; it is zero then.
#include "fwbase/runlog/packed_record.h"

#include <cstring>

namespace fwbase {

namespace {

constexpr std::size_t kFieldsRoom = 20;  // the fields of fixed size

static_assert(sizeof(IRunLog::Type) + 2 * sizeof(std::int32_t) + sizeof(std::time_t) ==
              kFieldsRoom);

char* put(char* at, const void* bytes, std::size_t size) {
  std::memcpy(at, bytes, size);
  return at + size;
}

}  // namespace

void pack_record(const LogRecord& record, std::vector<char>& bytes) {
  const std::size_t message_size = std::strlen(record.message) + 1;
  const std::size_t location_size = std::strlen(record.location) + 1;
  const std::size_t before = bytes.size();
  bytes.resize(before + message_size + location_size + kFieldsRoom);
  const std::time_t time = record.time.value_or(0);
  char* at = bytes.data() + before;
  at = put(at, &record.type, sizeof record.type);
  at = put(at, record.message, message_size);
  at = put(at, record.location, location_size);
  at = put(at, &record.pid, sizeof record.pid);
  at = put(at, &record.tid, sizeof record.tid);
  put(at, &time, sizeof time);
}

std::size_t packed_size(std::string_view bytes) {
  std::size_t end = sizeof(IRunLog::Type);
  for (int text = 0; text < 2; ++text) {
    const std::size_t zero = end <= bytes.size() ? bytes.find('\0', end) : bytes.npos;
    if (zero == bytes.npos) {
      return 0;
    }
    end = zero + 1;
  }
  end += kFieldsRoom - sizeof(IRunLog::Type);
  return end <= bytes.size() ? end : 0;
}

template <typename Field>
void PackedRecords::take(Field& field) {
  std::memcpy(&field, m_next, sizeof field);
  m_next += sizeof field;
}

void PackedRecords::take(const char*& text) {
  text = m_next;
  m_next += std::strlen(text) + 1;
}

std::optional<LogRecord> PackedRecords::next(bool with_time) {
  if (m_next == m_end) {
    return std::nullopt;
  }
  LogRecord record;
  std::time_t time = 0;
  take(record.type);
  take(record.message);
  take(record.location);
  take(record.pid);
  take(record.tid);
  take(time);
  if (with_time) {
    record.time = time;
  }
  return record;
}

}  // namespace fwbase
