// The queue between the threads that log and the writer thread.
#ifndef FWBASE_RUNLOG_LOG_QUEUE_H
#define FWBASE_RUNLOG_LOG_QUEUE_H

#include <condition_variable>
#include <cstddef>
#include <ctime>
#include <vector>

#include "fwbase/runlog/log_record.h"
#include "fwbase/support/fork_mutex.h"

namespace fwbase {

/// A first-in-first-out queue of packed records, for any number of producers and one writer.
///
/// The writer takes all that is there at once, so that queue and lock are not passed on for each
/// record. While records keep coming it does not have itself woken for them: it comes and looks,
/// after half a millisecond at the latest, and is woken only when the queue is half full. A thread
/// that logs then pays for a copy of its record and for nothing else.
///
/// Before the writer ends the queue is closed: nobody waits for room any more.
class LogQueue {
 public:
  /// Producers wait while the queue holds so many bytes or more.
  static constexpr std::size_t kMark = 16384;

  /// Copies a record to the end of the queue; waits while the queue is full and open. Without
  /// memory the record is dropped, and errno is ENOMEM.
  void push(const LogRecord& record);

  /// For the writer: waits for records and moves all of them to `records`, whose content is lost.
  /// False, with none, when the queue is closed and empty.
  bool take(std::vector<char>& records);

  void close() { set_open(false); }
  void open() { set_open(true); }

  /// Around fork(), in the thread that forks. The child's queue is an empty one. Records that
  /// another thread was queueing when the deadline (CLOCK_REALTIME) had passed are not given back.
  void before_fork(const timespec& deadline) { m_mutex.before_fork(deadline); }
  void after_fork_in_parent() { m_mutex.after_fork_in_parent(); }
  void after_fork_in_child() FWBASE_NO_THREAD_SAFETY_ANALYSIS;

 private:
  enum class Writer { kAwake, kNapping, kAsleep };

  void set_open(bool open);
  bool wants_writer() FWBASE_REQUIRES(m_mutex);
  void wait_for_records(support::MutexGuard& lock) FWBASE_REQUIRES(m_mutex);

  support::ForkMutex m_mutex;
  std::condition_variable m_room;    // for producers
  std::condition_variable m_filled;  // for the writer
  std::vector<char> m_records FWBASE_GUARDED_BY(m_mutex);
  Writer m_writer FWBASE_GUARDED_BY(m_mutex) = Writer::kAwake;
  bool m_open FWBASE_GUARDED_BY(m_mutex) = true;
};

}  // namespace fwbase

#endif
