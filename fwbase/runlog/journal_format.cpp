// Reading journals, whose bytes others may have written.
#include "fwbase/runlog/journal_format.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>

#include "fwbase/runlog/packed_record.h"
#include "support/uninterrupted.h"

namespace fwbase {

namespace {

/// The number of attempts to read a journal that is in use: an attempt fails when records are
/// removed meanwhile.
constexpr int kTries = 100;

// Returns whether it has read `size` bytes. When the file has fewer, errno is EIO.
bool read_at(int descriptor, char* bytes, std::size_t size, std::uint64_t offset) {
  while (size != 0) {
    const ssize_t got = support::uninterrupted(
        [&] { return ::pread(descriptor, bytes, size, static_cast<off_t>(offset)); });
    if (got <= 0) {
      errno = got == 0 ? EIO : errno;
      return false;
    }
    bytes += got;
    size -= static_cast<std::size_t>(got);
    offset += static_cast<std::uint64_t>(got);
  }
  return true;
}

bool read_header(int descriptor, JournalHeader& header) {
  char bytes[sizeof header];
  const bool is_read = read_at(descriptor, bytes, sizeof bytes, 0);
  if (is_read) {
    std::memcpy(&header, bytes, sizeof header);
  }
  return is_read;
}

bool is_sound(const JournalHeader& header, std::uint64_t file_size) {
  return header.magic == kJournalMagic && header.capacity != 0 &&
         header.capacity <= file_size - kJournalHeaderSize && header.begin <= header.end &&
         header.end - header.begin <= header.capacity && header.noted <= 1;
}

// Copies the ring's records into one piece.
bool read_records(int descriptor, const JournalHeader& header, std::vector<char>& records) {
  const std::uint64_t size = header.end - header.begin;
  const std::uint64_t at = header.begin % header.capacity;
  const std::uint64_t first = std::min(size, header.capacity - at);
  records.resize(size);
  return read_at(descriptor, records.data(), first, kJournalHeaderSize + at) &&
         read_at(descriptor, records.data() + first, size - first, kJournalHeaderSize);
}

bool find_ends(JournalContent& content) {
  std::string_view left(content.records.data(), content.records.size());
  while (!left.empty()) {
    const std::size_t size = packed_size(left);
    if (size == 0) {
      return false;
    }
    left.remove_prefix(size);
    content.ends.push_back(content.begin + content.records.size() - left.size());
  }
  return true;
}

bool take_note(const JournalHeader& header, JournalContent& content) {
  const JournalNote& note = header.note;
  if (header.noted == 0 || note.to <= header.begin) {
    return true;
  }
  content.note = note;
  return note.length != 0 && note.offset <= INT64_MAX && note.length <= INT64_MAX - note.offset &&
         note.times <= JournalTimes::kStored &&
         std::binary_search(content.ends.begin(), content.ends.end(), note.to);
}

JournalState read_once(int descriptor, const JournalHeader& header, std::uint64_t file_size,
                       JournalContent& content) {
  if (header.magic == 0) {
    return JournalState::kUnfinished;
  }
  if (!is_sound(header, file_size)) {
    return JournalState::kDamaged;
  }
  content = {};
  content.begin = header.begin;
  if (!read_records(descriptor, header, content.records)) {
    return JournalState::kUnreadable;
  }
  return find_ends(content) && take_note(header, content) ? JournalState::kWhole
                                                          : JournalState::kDamaged;
}

bool is_same(const JournalHeader& one, const JournalHeader& other) {
  return one.magic == other.magic && one.capacity == other.capacity && one.begin == other.begin &&
         one.noted == other.noted && std::memcmp(&one.note, &other.note, sizeof(JournalNote)) == 0;
}

}  // namespace

// As FNV-1a, but with eight bytes at a time, in four lanes: a processor multiplies for all of them
// while one would wait for its product. Rotating brings the upper bits down, where the
// multiplication of the next eight bytes moves them on.
std::uint64_t journal_hash(std::string_view text) {
  constexpr std::uint64_t kPrime = 0x9E3779B97F4A7C15;
  const auto add = [](std::uint64_t& hash, std::uint64_t word) {
    hash = std::rotl((hash ^ word) * kPrime, 29);
  };
  std::uint64_t hash = text.size() * kPrime;
  std::array<std::uint64_t, 4> lanes{1, 2, 3, 4};
  std::array<std::uint64_t, 4> words;
  for (; text.size() >= sizeof words; text.remove_prefix(sizeof words)) {
    std::memcpy(words.data(), text.data(), sizeof words);
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
      add(lanes[lane], words[lane]);
    }
  }
  words = {};
  text.copy(reinterpret_cast<char*>(words.data()), text.size());
  for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
    add(hash, lanes[lane]);
    add(hash, words[lane]);
  }
  return (hash ^ (hash >> 32)) * kPrime;
}

// --- The content ---

std::size_t JournalContent::noted_records() const {
  return note ? static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), note->to) -
                                         ends.begin())
              : 0;
}

JournalContent JournalContent::without(const std::vector<bool>& written) const {
  JournalContent left;
  auto from = records.begin();
  for (std::size_t record = 0; record < ends.size(); ++record) {
    const auto to = records.begin() + static_cast<std::ptrdiff_t>(ends[record] - begin);
    if (record >= written.size() || !written[record]) {
      left.records.insert(left.records.end(), from, to);
      left.ends.push_back(left.records.size());
    }
    from = to;
  }
  return left;
}

bool JournalContent::add_texts(std::size_t first, std::size_t count, JournalTimes times,
                               RecordTexts& texts) const {
  const std::uint64_t from = first == 0 ? begin : ends[first - 1];
  PackedRecords packed(records.data() + (from - begin), records.data() + records.size());
  for (std::size_t i = first; i < first + count; ++i) {
    std::optional<LogRecord> record = packed.next(times != JournalTimes::kNone);
    if (times == JournalTimes::kStored && record->time == 0) {
      record->time.reset();
    }
    if (!texts.add(*record, ends[i])) {
      return false;
    }
  }
  return true;
}

// --- Reading ---

// The bytes between `begin` and `end` do not change until `begin` has moved.
JournalState read_journal(int descriptor, JournalContent& content) {
  struct stat status;
  JournalHeader before;
  for (int tries = 0; tries < kTries; ++tries) {
    if (::fstat(descriptor, &status) != 0) {
      return JournalState::kUnreadable;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size < kJournalHeaderSize) {
      return size == 0 ? JournalState::kUnfinished : JournalState::kDamaged;
    }
    JournalHeader after;
    if (!read_header(descriptor, before)) {
      return JournalState::kUnreadable;
    }
    const JournalState state = read_once(descriptor, before, size, content);
    if (state == JournalState::kUnreadable || !read_header(descriptor, after)) {
      return JournalState::kUnreadable;
    }
    if (is_same(before, after)) {
      return state;
    }
  }
  return JournalState::kChanging;
}

}  // namespace fwbase
