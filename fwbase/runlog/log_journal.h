// The journal of a log while a process owns it: docs/log_journal.md tells what it is for.
#ifndef FWBASE_RUNLOG_LOG_JOURNAL_H
#define FWBASE_RUNLOG_LOG_JOURNAL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fwbase/runlog/journal_format.h"

namespace fwbase {

/// Owns the file and a lock on it. The lock ends with the process, and no child inherits it. The
/// object keeps its own copy of the positions: it reads nothing from the file while the journal is
/// in use.
class LogJournal {
 public:
  enum class Adopted {
    kNone,       ///< there is nothing to adopt
    kTaken,      ///< this process owns the journal now
    kLocked,     ///< another process owns it
    kUntrusted,  ///< not a regular file of this user alone; left as it is
    kDamaged,    ///< renamed to <name>.damaged
    kFailed      ///< left as it is; errno says why
  };

  /// Makes a journal with room for `capacity` bytes, and reserves the room on the disk. The name
  /// must be free. Null on failure; errno says why. Throws std::bad_alloc.
  static std::unique_ptr<LogJournal> make(const std::string& path, std::size_t capacity);

  /// Takes over the journal of a process that was killed. It serves to read its content and to
  /// write notes, not to add records. Throws std::bad_alloc; then nothing has changed.
  static Adopted adopt(const std::string& path, std::unique_ptr<LogJournal>& journal,
                       JournalContent& content);

  /// Replaces an adopted journal, in one step, by one with these packed records and no note. False
  /// on failure: then nothing has changed, and errno says why. Throws std::bad_alloc; then nothing
  /// has changed.
  static bool replace(std::unique_ptr<LogJournal>& journal, const std::vector<char>& records);

  /// Leaves the file alone.
  ~LogJournal();
  LogJournal(const LogJournal&) = delete;
  LogJournal& operator=(const LogJournal&) = delete;

  /// Removes the file.
  void remove();

  // For the threads that log, one at a time.

  bool is_empty() const { return m_end == m_begin; }
  std::size_t capacity() const { return m_capacity; }
  bool has_room(std::size_t size) const { return size <= m_capacity - (m_end - m_begin); }

  /// Appends a packed record, for which there must be room. When this returns, the record survives
  /// the process.
  void put(const char* record, std::size_t size);

  /// Enlarges an empty journal to `size` bytes or more. False when the disk has no room.
  bool grow(std::size_t size);

  // For the writer.

  /// The number of the first byte that is not written to the log yet.
  std::uint64_t begin() const { return m_begin; }

  /// Notes the batch that the writer is about to write, from begin() on.
  void note(const JournalNote& note);

  /// Removes the records before the number `to`, which are written or given up.
  void done(std::uint64_t to);

 private:
  LogJournal(std::string path, int descriptor)
      : m_path(std::move(path)), m_descriptor(descriptor) {}

  enum class Locked { kYes, kByAnother, kGone, kFailed };
  Locked lock() const;
  bool is_named() const;
  bool reserve(std::size_t capacity);
  bool map_header();
  bool map_ring(std::size_t capacity);
  bool begin_file(std::size_t capacity);
  Adopted take_over(JournalContent& content);

  std::string m_path;
  const int m_descriptor;
  JournalHeader* m_header = nullptr;
  char* m_ring = nullptr;
  std::size_t m_capacity = 0;
  std::atomic<std::uint64_t> m_begin{0};
  std::uint64_t m_end = 0;
  std::size_t m_at = 0;  // where in the ring the next byte goes
};

}  // namespace fwbase

#endif
