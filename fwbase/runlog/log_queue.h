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
/// The writer takes all records at once, so that the lock does not change hands for each record.
/// While records keep coming, nobody wakes the writer for them: it looks for records every half
/// millisecond, and is woken only when the queue is half full. A thread that logs then pays for a
/// copy of its record and for nothing else.
///
/// The queue is closed before the writer ends. From then on no thread waits for room in the queue.
/// A thread may still wait for room in the journal; the writer ends after the last of them.
class LogQueue {
 public:
  /// Sets how large the queue may be, and what happens when it is full.
  void options(const LogOptions& options);

  /// The number of bytes from which on the queue is full.
  std::size_t bytes();

  /// Sets the journal that keeps a copy of the records from now on; null for none. The queue and
  /// the journal must be empty. There is a journal only while there is a writer.
  void journal(LogJournal* journal);

  /// Copies a record to the end of the queue. While the queue is full and open, or its journal is
  /// full, waits or drops the record, as the options say. When there is no memory, the record is
  /// dropped and errno is ENOMEM.
  void push(const LogRecord& record);

  /// For the writer: waits for records and moves all of them to `records`, whose old content is
  /// lost. Returns false, and no records, when the queue is closed and empty.
  bool take(std::vector<char>& records);

  /// The numbers of dropped records, by reason.
  struct Dropped {
    std::uint64_t queue_full = 0;
    std::uint64_t no_room = 0;  ///< the disk had no room to grow the journal for a long record
  };

  /// For the writer: the records dropped since the last call. While `no_room` is not 0, take()
  /// does not wait for records and may return none.
  Dropped take_dropped();

  /// For the writer: tells the queue that the journal has room again.
  void journal_has_room();

  void close() { set_open(false); }
  void open() { set_open(true); }

 private:
  enum class Writer { kAwake, kNapping, kAsleep };

  /// The result of append(): the record is in the queue (kYes), it has to wait for the queue or the
  /// journal, or it is lost (kNever).
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
  unsigned int m_waiting FWBASE_GUARDED_BY(m_mutex) = 0;  // producers
  std::atomic<unsigned int> m_waiting_for_journal{0};     // some of these; changed under m_mutex
  unsigned int m_large_waiting FWBASE_GUARDED_BY(m_mutex) = 0;  // of these, with large records
  Writer m_writer FWBASE_GUARDED_BY(m_mutex) = Writer::kAwake;
  bool m_open FWBASE_GUARDED_BY(m_mutex) = true;
};

}  // namespace fwbase

#endif
