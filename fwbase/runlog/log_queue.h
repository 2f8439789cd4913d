// The queue between the threads that log and the writer thread.
#ifndef FWBASE_RUNLOG_LOG_QUEUE_H
#define FWBASE_RUNLOG_LOG_QUEUE_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <ctime>
#include <mutex>
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
/// Rounds: the queue is closed between one service of the log and the next. A round ends when the
/// closed queue is empty and nobody waits for room in it any more: what had come so far is written.
/// Whoever comes later with a record for that round learns so, and has to ask again what to do with
/// it.
class LogQueue {
 public:
  /// Producers wait while the queue holds so many bytes or more.
  static constexpr std::size_t kMark = 16384;

  enum class Push { kDone, kNoMemory, kRoundOver };

  /// The present round, for push().
  unsigned int round() const { return m_round; }

  /// Copies a record to the end of the queue; waits while the queue is full.
  /// kNoMemory    the record is not queued; errno is ENOMEM
  /// kRoundOver   the record is not queued: the round had ended
  Push push(const LogRecord& record, unsigned int round);

  /// For the writer: waits for records and moves all of them to `records`, whose content is lost.
  /// False, with none, when the queue is closed, is empty and has no producer that waits for room:
  /// the round is over then.
  bool take(std::vector<char>& records);

  /// Lets the round end. Nobody new may come with a record for it.
  void close();

  /// Begins a round.
  void open();

  bool full() const;
  bool empty() const;
  unsigned int waiting_producers() const;

  /// Around fork(), in the thread that forks. The child's queue is an empty one. Records that
  /// another thread was queueing when the deadline (CLOCK_REALTIME) had passed are not given back.
  void before_fork(const timespec& deadline);
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  enum class Writer { kAwake, kNapping, kAsleep };

  void wait_for_room(std::unique_lock<std::mutex>& lock);
  bool call_writer();
  void wait_for_records(std::unique_lock<std::mutex>& lock);

  mutable support::ForkMutex m_mutex;
  std::condition_variable m_room;    // for producers
  std::condition_variable m_filled;  // for the writer
  std::vector<char> m_records;
  std::atomic<unsigned int> m_round{0};  // changed with the lock held
  unsigned int m_waiting = 0;            // producers
  Writer m_writer = Writer::kAwake;
  bool m_open = true;
};

}  // namespace fwbase

#endif
