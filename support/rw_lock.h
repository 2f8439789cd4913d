// The reader-writer lock that guards each component, and its owners.
//
// While no thread writes, a reader only sets a mark in a cache line of its own thread: reads scale
// with the processors. A writer sends new readers to the system's lock, waits until the marks are
// gone, and takes the system's lock itself. After some reads without a write, marks count again.
//
// When the lock cannot be taken, the error number is in errno and the operation goes on without the
// lock. An owner releases only a lock that it got.
#ifndef SUPPORT_RW_LOCK_H
#define SUPPORT_RW_LOCK_H

#include <ace/RW_Thread_Mutex.h>

#include <atomic>
#include <ctime>
#include <utility>

#include "support/lock_list.h"
#include "support/reader_marks.h"
#include "support/thread_safety.h"

namespace support {

/// A thread may hold the lock for reading several times at once. Writers that wait do not keep
/// readers away.
class FWBASE_CAPABILITY RwLock final : public ListedLock {
 public:
  explicit RwLock(LockRank rank, InChild in_child = {}) : ListedLock(rank, std::move(in_child)) {
    join();
  }
  ~RwLock() { leave(); }

  /// How a thread holds the lock for reading.
  struct Read {
    ReaderMarks* marks;  ///< the thread's marks, the last for this lock; null: no mark
    bool system;         ///< the thread holds the system's lock
  };

  Read acquire_read() FWBASE_ACQUIRE_SHARED() FWBASE_NO_THREAD_SAFETY_ANALYSIS {
    if (marks_count(std::memory_order_relaxed)) {
      ReaderMarks* const marks = ReaderMarks::of_thread();
      if (marks != nullptr && mark(*marks)) {
        return {marks, false};
      }
    }
    return acquire_read_by_system();
  }
  void release_read(const Read& read) FWBASE_RELEASE_SHARED() {
    if (read.marks != nullptr) {
      read.marks->remove_last();
    } else if (read.system) {
      m_mutex.release();
    }
  }

  /// Returns whether the lock was taken.
  bool acquire_write() FWBASE_ACQUIRE();
  void release_write() FWBASE_RELEASE() { m_mutex.release(); }

 private:
  /// The lower bits of m_marks say whether a mark holds the lock. kIgnored: no mark does. kCount:
  /// each mark does; a thread that holds m_mutex for reading sets this. kEnd: no new mark does; a
  /// writer sets this, waits until the marks are gone and then sets kIgnored. A writer takes
  /// m_mutex only under kIgnored. The upper bits count these rounds: a writer ends only the round
  /// that it saw.
  enum Marks : unsigned int { kIgnored = 0, kCount = 1, kEnd = 2, kAll = 3, kRound = 4 };

  bool marks_count(std::memory_order order) const { return (m_marks.load(order) & kAll) == kCount; }
  bool mark(ReaderMarks& marks) {
    if (marks.set(this) == nullptr) {
      return false;
    }
    if (marks_count(std::memory_order_seq_cst)) {
      return true;
    }
    marks.remove_last();
    return false;
  }
  bool acquire_write_at_once();
  bool wait_to_write();
  bool has_lost_to_marks();
  Read acquire_read_by_system();
  void let_marks_count();
  void wait_for_marks();

  bool take(const timespec& deadline) override;
  void give_back() override;
  void make_anew(bool taken) override;

  std::atomic<unsigned int> m_marks{kIgnored};
  std::atomic<int> m_reads{0};    // through the system's lock, since the last write
  std::atomic<int> m_writers{0};  // writers that wait
  ACE_RW_Thread_Mutex m_mutex;
  bool m_written_by_fork = false;  // the forking thread holds the lock for writing
};

/// Holds the lock for reading.
class FWBASE_SCOPED_CAPABILITY ReadGuard {
 public:
  explicit ReadGuard(RwLock& lock) FWBASE_ACQUIRE_SHARED(lock)
      : m_lock(lock), m_read(lock.acquire_read()) {}
  ~ReadGuard() FWBASE_RELEASE_GENERIC() FWBASE_NO_THREAD_SAFETY_ANALYSIS {
    m_lock.release_read(m_read);
  }
  ReadGuard(const ReadGuard&) = delete;
  ReadGuard& operator=(const ReadGuard&) = delete;

 private:
  RwLock& m_lock;
  const RwLock::Read m_read;
};

/// Holds the lock for writing.
class FWBASE_SCOPED_CAPABILITY WriteGuard {
 public:
  explicit WriteGuard(RwLock& lock) FWBASE_ACQUIRE(lock)
      : m_lock(lock), m_taken(lock.acquire_write()) {}
  ~WriteGuard() FWBASE_RELEASE() {
    if (m_taken) {
      m_lock.release_write();
    }
  }
  WriteGuard(const WriteGuard&) = delete;
  WriteGuard& operator=(const WriteGuard&) = delete;

 private:
  RwLock& m_lock;
  const bool m_taken;
};

/// Gives up a lock held for writing, for a scope: around calls of host code.
class FWBASE_SCOPED_CAPABILITY WriteRelease {
 public:
  explicit WriteRelease(RwLock& lock) FWBASE_RELEASE(lock) : m_lock(lock) { lock.release_write(); }
  // The analysis wants FWBASE_RELEASE() here. For a scope that has given its lock up, this means
  // that the lock is held again.
  ~WriteRelease() FWBASE_RELEASE() FWBASE_NO_THREAD_SAFETY_ANALYSIS { m_lock.acquire_write(); }
  WriteRelease(const WriteRelease&) = delete;
  WriteRelease& operator=(const WriteRelease&) = delete;

 private:
  RwLock& m_lock;
};

}  // namespace support

#endif
