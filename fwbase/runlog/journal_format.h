// The journal of a log: a mirror of its queue in a file, <log>.journal.
//
// A header of one page, then a ring of packed records. The numbers `begin` and `end` count bytes
// and only grow; a byte stands at its number modulo the capacity. The header also has a note of the
// batch that is being written to the log. Everything is in native byte order: a journal is read by
// the machine that wrote it.
#ifndef FWBASE_RUNLOG_JOURNAL_FORMAT_H
#define FWBASE_RUNLOG_JOURNAL_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

#include "fwbase/runlog/log_record.h"

namespace fwbase {

constexpr std::size_t kJournalHeaderSize = 4096;

/// "FWBJNL", 0 and the version of the format, as a number: another byte order has another one.
constexpr std::uint64_t kJournalMagic = 0x4657424A4E4C0002;

/// The records whose texts show a time.
enum class JournalTimes : std::uint64_t {
  kNone,
  kAll,     ///< all; a record without a time shows 1970
  kStored,  ///< the records with a time
};

/// A batch: records that one call writes to the log.
struct JournalNote {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t offset = 0;  ///< the size of the file before the batch
  std::uint64_t length = 0;  ///< of the text
  std::uint64_t hash = 0;    ///< of the text
  std::uint64_t to = 0;      ///< the number behind the last record; the first one is at `begin`
  JournalTimes times = JournalTimes::kNone;
};

struct JournalHeader {
  std::uint64_t magic;  ///< 0 while the journal is being made
  std::uint64_t capacity;
  alignas(64) std::uint64_t begin;
  alignas(64) std::uint64_t end;
  alignas(64) std::uint64_t noted;  ///< 1: the note counts, unless `begin` has come to its `to`
  JournalNote note;
};
static_assert(std::is_trivially_copyable_v<JournalHeader> &&
              sizeof(JournalHeader) <= kJournalHeaderSize);

/// The hash of a batch's text.
std::uint64_t journal_hash(std::string_view text);

/// The content of a journal.
struct JournalContent {
  std::uint64_t begin = 0;
  std::vector<char> records;        ///< packed
  std::vector<std::uint64_t> ends;  ///< for each record, the number of the byte behind it
  std::optional<JournalNote> note;  ///< about the first records

  /// The number of records that the note is about.
  std::size_t noted_records() const;

  /// A copy without the written records and without the note. Throws std::bad_alloc.
  JournalContent without(const std::vector<bool>& written) const;

  /// Appends the texts of `count` records from `first` on, marked with their ends. False without
  /// memory.
  bool add_texts(std::size_t first, std::size_t count, JournalTimes times,
                 RecordTexts& texts) const;
};

enum class JournalState {
  kWhole,
  kUnfinished,  ///< it has no header yet: its maker was killed, or is at work
  kDamaged,
  kChanging,   ///< its owner writes records faster than they can be read
  kUnreadable  ///< errno says why
};

/// Reads a journal without changing it, and checks all that it says. `content` is valid only when
/// the result is kWhole. Throws std::bad_alloc.
JournalState read_journal(int descriptor, JournalContent& content);

}  // namespace fwbase

#endif
