// A packed record, in native byte order:
//   level (4)  message and its zero  location and its zero  pid (4)  tid (4)  time (8)
// The room for the time is there even when no time is stored; it is zero then.
#include "fwbase/runlog/log_message.h"

#include <cstring>

namespace fwbase {

namespace {

constexpr std::size_t kFieldsRoom = 20;  // the fields of fixed size

static_assert(sizeof(IRunLog::Type) + 2 * sizeof(std::int32_t) + sizeof(std::time_t) ==
              kFieldsRoom);

template <typename Field>
void put(ACE_Message_Block& message, const Field& field) {
  message.copy(reinterpret_cast<const char*>(&field), sizeof field);
}

// Takes the fields of a message off its front.
class Reader {
 public:
  explicit Reader(const ACE_Message_Block& message)
      : m_next(message.rd_ptr()), m_end(message.base() + message.size()) {}

  bool good() const { return m_good; }

  template <typename Field>
  Field field() {
    Field value{};
    if (take(sizeof value)) {
      std::memcpy(&value, m_next - sizeof value, sizeof value);
    }
    return value;
  }

  const char* text() {
    const char* const start = m_next;
    const void* const zero = left() > 0 ? std::memchr(start, '\0', left()) : nullptr;
    const bool taken =
        take(zero != nullptr ? static_cast<const char*>(zero) - start + 1u : left() + 1);
    return taken ? start : "";
  }

 private:
  std::size_t left() const { return static_cast<std::size_t>(m_end - m_next); }

  bool take(std::size_t size) {
    m_good = m_good && size <= left();
    m_next += m_good ? size : 0;
    return m_good;
  }

  const char* m_next;
  const char* m_end;
  bool m_good = true;
};

}  // namespace

MessagePtr pack_record(const LogRecord& record) {
  const std::size_t message_size = std::strlen(record.message) + 1;
  const std::size_t location_size = std::strlen(record.location) + 1;
  MessagePtr message = support::new_message_block(message_size + location_size + kFieldsRoom,
                                                  ACE_Message_Block::MB_DATA);
  if (!message) {
    return nullptr;
  }
  put(*message, record.type);
  message->copy(record.message, message_size);
  message->copy(record.location, location_size);
  put(*message, record.pid);
  put(*message, record.tid);
  if (record.time) {
    put(*message, *record.time);
  } else {
    std::memset(message->wr_ptr(), 0, message->space());
  }
  return message;
}

std::optional<LogRecord> unpack_record(const ACE_Message_Block& message, bool with_time) {
  Reader reader(message);
  LogRecord record;
  record.type = reader.field<IRunLog::Type>();
  record.message = reader.text();
  record.location = reader.text();
  record.pid = reader.field<std::int32_t>();
  record.tid = reader.field<std::int32_t>();
  if (with_time) {
    record.time = reader.field<std::time_t>();
  }
  return reader.good() ? std::optional(record) : std::nullopt;
}

MessagePtr shut_down_message() {
  return support::new_message_block(0, ACE_Message_Block::MB_HANGUP);
}

}  // namespace fwbase
