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

  /// Opens or creates a file, in place of the one that was open. That one stays open where it
  /// fails; errno says why.
  bool open(const char* path);

  /// The same for a regular file only, without waiting for anything.
  bool open_regular(const char* path);

  /// As fstat().
  bool status(struct stat& status) const;

  /// Writes `count` records at the end of the file, from `first` on. Where one fails, those behind
  /// it are left to the next call; of the one that failed everything is in the file or, where the
  /// file can be cut back, nothing. No signal is raised, as a FIFO that nobody reads any more or a
  /// limit of the size of files would. A thread may be cancelled before the first one, also while
  /// it waits for room in a FIFO or a terminal.
  Appended append(const RecordTexts& texts, std::size_t first, std::size_t count);

  /// The write position in bytes; -1 for what has none, as pipes and terminals.
  std::int64_t position();

  /// The same without a system call. Others may write into the file or cut it: what they have done
  /// is known after some microseconds only.
  std::int64_t counted_position() const { return m_position; }

  /// Keeps others that ask for the lock away until unlock() or the end of the file. Whoever holds
  /// it already is waited for, but not for long: then there is no lock.
  void lock();
  void unlock();

  /// In a forked child: makes a position of its own, where there is one. Allocates nothing.
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
  bool m_write_may_wait = false;    // for others
  bool m_write_may_signal = false;  // where it fails
  std::int64_t m_position = -1;
  Clock::time_point m_position_known_at;
};

}  // namespace fwbase

#endif
