// Looks for the bracket that begins a tag: most records have only one, but two or more line ends.
#include "log_records/splitter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "log_records/record.h"

namespace log_records {

namespace {

constexpr std::string_view kBehindLineFeed = " >";  // of the mark "\r\n >"
constexpr std::size_t kNone = std::string_view::npos;

}  // namespace

void Splitter::Freed::operator()(char* bytes) const { std::free(bytes); }

std::span<char> Splitter::room(std::size_t size) {
  if (m_capacity - m_end < size && m_begin > 0) {
    std::memmove(m_bytes.get(), m_bytes.get() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_searched -= std::min(m_searched, m_begin);
    m_looked -= std::min(m_looked, m_begin);
    m_begin = 0;
  }
  if (m_capacity - m_end < size) {
    // The system moves large blocks without copying, and untouched pages take no memory.
    const std::size_t capacity = std::max(m_end + size, m_capacity + m_capacity / 2);
    void* const larger = std::realloc(m_bytes.get(), capacity);
    if (larger == nullptr) {
      throw std::bad_alloc();
    }
    [[maybe_unused]] const char* const moved = m_bytes.release();
    m_bytes.reset(static_cast<char*>(larger));
    m_capacity = capacity;
  }
  return {m_bytes.get() + m_end, m_capacity - m_end};
}

// The first tag at the start of a line in [from, to). When there is none, returns kNone and moves
// `from` to where to continue with more bytes. A tag at `from` itself needs a line end before it.
std::size_t Splitter::find_tag(std::size_t& from, std::size_t to) const {
  const char* const data = m_bytes.get();
  while (from < to) {
    const void* const found = std::memchr(data + from, '[', to - from);
    if (found == nullptr) {
      from = to;
      break;
    }
    const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - data);
    const bool begins_line = at > 0 && data[at - 1] == '\n';
    if (begins_line && m_end - at < kTagSize) {
      from = at;  // too few bytes to decide
      break;
    }
    if (begins_line && tag_at({data + at, kTagSize})) {
      return at;
    }
    from = at + 1;
  }
  return kNone;
}

// Whether a mark or another tag comes first after the tag. Both follow a line end.
Splitter::Head Splitter::look_at_head(std::size_t tag) {
  const std::size_t blank = tag + kTagSize;
  if (m_end == blank) {
    return Head::kUnknown;
  }
  if (bytes()[blank] != ' ') {
    return Head::kIncomplete;
  }
  m_looked = std::max(m_looked, blank);
  for (std::size_t feed; (feed = bytes().find('\n', m_looked)) != kNone; m_looked = feed + 1) {
    const std::string_view behind = bytes().substr(feed + 1);
    if (bytes()[feed - 1] == '\r' && behind.starts_with(kBehindLineFeed)) {
      return Head::kComplete;
    }
    if (tag_at(behind)) {
      return Head::kIncomplete;
    }
  }
  m_looked =
      std::max(blank, m_end - kTagSize);  // what is there of a tag or a mark may be its begin
  return Head::kUnknown;
}

bool Splitter::give(std::size_t end, bool is_ambiguous, RecordBytes& record) {
  record = {{m_bytes.get() + m_begin, end - m_begin}, m_offset, is_ambiguous};
  m_offset += end - m_begin;
  m_begin = end;
  m_searched = end + 1;
  m_looked = 0;
  return true;
}

bool Splitter::next(Behind behind, RecordBytes& record) {
  if (m_begin == m_end) {
    return false;
  }
  m_searched = std::max(m_searched, m_begin + 1);
  std::size_t from = m_searched;
  const std::size_t tag = find_tag(from, m_end);
  m_searched = tag == kNone ? from : tag;
  if (tag == kNone) {
    return behind == Behind::kEnd && give(m_end, false, record);
  }
  if (m_look_ahead == LookAhead::kNone) {
    return give(tag, false, record);
  }
  const Head head = look_at_head(tag);
  if (head == Head::kUnknown && behind == Behind::kMore) {
    return false;
  }
  const bool is_record = tag_at(rest()).has_value();
  return give(tag, is_record && head != Head::kComplete, record);
}

void Splitter::restart() {
  m_begin = m_end = m_searched = m_looked = 0;
  m_offset = 0;
  release_memory();
}

void Splitter::release_memory() {
  if (m_begin == m_end) {
    m_bytes.reset();
    m_begin = m_end = m_searched = m_looked = m_capacity = 0;
  }
}

}  // namespace log_records
