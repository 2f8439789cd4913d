// A log file that is open for appending.
#ifndef FWBASE_RUNLOG_LOG_FILE_H
#define FWBASE_RUNLOG_LOG_FILE_H

#include <sys/stat.h>

#include <chrono>
#include <cstdint>

#include "fwbase/runlog/log_record.h"

namespace fwbase {

/// Works on the descriptor itself: records are written by one call, and one that fails halfway can
/// be taken back. Child processes of the host do not inherit the descriptor. Not synchronised.
class LogFile {
 public:
  /// What append() has done: records written or given up, and whether the last one is written.
  struct Appended {
    std::size_t count;
    bool written;
  };

  LogFile() = default;
  ~LogFile() { close(); }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// Opens or creates a file and closes the one that was open. On failure that one stays open, and
  /// errno says why.
  bool open(const char* path);

  /// The same for a regular file only, without waiting for anything.
  bool open_regular(const char* path);

  /// As fstat().
  bool status(struct stat& status) const;

  /// Writes `count` records at the end of the file, from `first` on. When one fails, the records
  /// behind it are left to the next call. The written part of the failed record is removed if the
  /// file can be cut back. Raises no signal, also for a FIFO without a reader or a file beyond the
  /// size limit. The thread may be cancelled before the first record, also while it waits for room
  /// in a FIFO or a terminal.
  Appended append(const RecordTexts& texts, std::size_t first, std::size_t count);

  /// The write position in bytes; -1 for a file without one, such as a pipe or a terminal.
  std::int64_t position();

  /// The same without a system call. If other processes write to the file or cut it, the position
  /// is right again only at a write some microseconds later.
  std::int64_t counted_position() const { return m_position; }

  /// Locks the file until unlock() or until it is closed. Waits for another process that holds the
  /// lock, but not for long: then goes on without the lock.
  void lock();
  void unlock();

  /// In a forked child: gives it a file position apart from the parent's, if the file has one.
  /// Allocates nothing.
  void part_from_parent();

 private:
  using Clock = std::chrono::steady_clock;

  void close();
  void take(int descriptor, mode_t type);
  void wait_for_room() const;
  void count(std::size_t written);
  Appended give_up(const RecordTexts& texts, std::size_t first, std::size_t written);
  void cut_back(std::size_t written);

  int m_descriptor = -1;
  bool m_write_may_wait = false;    // for readers of a FIFO, a terminal
  bool m_write_may_signal = false;  // SIGPIPE or SIGXFSZ
  std::int64_t m_position = -1;
  Clock::time_point m_position_known_at;
};

}  // namespace fwbase

#endif
