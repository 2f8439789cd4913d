// The queue between the threads that log and the writer thread.
#ifndef FWBASE_RUNLOG_LOG_QUEUE_H
#define FWBASE_RUNLOG_LOG_QUEUE_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <fwbase/log_options.h>

#include "fwbase/runlog/log_journal.h"
#include "fwbase/runlog/log_record.h"
#include "support/mutex.h"

namespace fwbase {

/// A first-in-first-out queue of packed records, for any number of producers and one writer.
///
/// The writer takes all that is there at once, so that queue and lock are not passed on for each
/// record. While records keep coming it does not have itself woken for them: it comes and looks,
/// after half a millisecond at the latest, and is woken only when the queue is half full. A thread
/// that logs then pays for a copy of its record and for nothing else.
///
/// Before the writer ends the queue is closed: nobody waits for room in it any more, only for room
/// in its journal, and the writer does not end before them.
class LogQueue {
 public:
  /// How large the queue may be, and what happens when it is full.
  void options(const LogOptions& options);

  /// From so many bytes on it is full.
  std::size_t bytes();

  /// Keeps the records that come from now on in a journal as well, or does not: null. The queue is
  /// empty, and so is the journal. There is a journal only while there is a writer.
  void journal(LogJournal* journal);

  /// Copies a record to the end of the queue. While the queue is full and open, and while its
  /// journal is full, waits or drops the record, as the options say. Without memory it is dropped,
  /// and errno is ENOMEM.
  void push(const LogRecord& record);

  /// For the writer: waits for records and moves all of them to `records`, whose content is lost.
  /// False, with none, when the queue is closed and empty.
  bool take(std::vector<char>& records);

  /// Records that were dropped, by reason.
  struct Dropped {
    std::uint64_t queue_full = 0;
    std::uint64_t no_room = 0;  ///< on the disk, for a record that is longer than the journal
  };

  /// For the writer: what was dropped since the last call. While there is anything take() does not
  /// wait: it gives what there is, which may be nothing.
  Dropped take_dropped();

  /// For the writer: there is room in the journal again.
  void journal_has_room();

  void close() { set_open(false); }
  void open() { set_open(true); }

 private:
  enum class Writer { kAwake, kNapping, kAsleep };

  /// Or what a record waits for.
  enum class Appended { kYes, kQueueFull, kJournalFull, kLargerThanJournal, kNever };

  void set_open(bool open);
  bool is_full(bool for_large) const FWBASE_REQUIRES(m_mutex) {
    return (m_open && m_records.size() >= m_options.queue_bytes) ||
           (m_large_waiting != 0 && !for_large);
  }
  bool drops(IRunLog::Type level) const FWBASE_REQUIRES(m_mutex);
  Appended append(const LogRecord& record, bool is_large) FWBASE_REQUIRES(m_mutex);
  Appended keep(std::size_t from) FWBASE_REQUIRES(m_mutex);
  std::uint64_t journal_begin() const FWBASE_REQUIRES(m_mutex) {
    return m_journal != nullptr ? m_journal->begin() : 0;
  }
  void wait_for_room(support::MutexGuard& lock, bool for_large, bool for_journal,
                     std::uint64_t seen_begin) FWBASE_REQUIRES(m_mutex);
  bool is_idle() const FWBASE_REQUIRES(m_mutex) {
    return m_records.empty() && m_dropped.no_room == 0;
  }
  bool has_ended() const FWBASE_REQUIRES(m_mutex) {
    return !m_open && (m_journal == nullptr || m_waiting == 0);
  }
  bool wants_writer() FWBASE_REQUIRES(m_mutex);
  void wait_for_records(support::MutexGuard& lock) FWBASE_REQUIRES(m_mutex);

  void in_child(bool whole) FWBASE_NO_THREAD_SAFETY_ANALYSIS;

  support::RankedMutex m_mutex{support::LockRank::kLogQueue,
                               [this](bool whole) { in_child(whole); }};
  std::condition_variable m_room;    // for producers
  std::condition_variable m_filled;  // for the writer
  LogOptions m_options FWBASE_GUARDED_BY(m_mutex);
  LogJournal* m_journal FWBASE_GUARDED_BY(m_mutex) = nullptr;
  std::vector<char> m_records FWBASE_GUARDED_BY(m_mutex);
  Dropped m_dropped FWBASE_GUARDED_BY(m_mutex);
  unsigned int m_waiting FWBASE_GUARDED_BY(m_mutex) = 0;        // producers
  std::atomic<unsigned int> m_waiting_for_journal{0};           // of them; changed under m_mutex
  unsigned int m_large_waiting FWBASE_GUARDED_BY(m_mutex) = 0;  // those with large records
  Writer m_writer FWBASE_GUARDED_BY(m_mutex) = Writer::kAwake;
  bool m_open FWBASE_GUARDED_BY(m_mutex) = true;
};

}  // namespace fwbase

#endif
