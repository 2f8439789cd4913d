// The reader-writer lock that guards each component, and its owners.
//
// A call that fails leaves its error number in errno and nothing else happens: the operation goes
// on. An owner gives back only what it got.
#ifndef FWBASE_SUPPORT_RW_LOCK_H
#define FWBASE_SUPPORT_RW_LOCK_H

#include <ace/RW_Thread_Mutex.h>

#include <ctime>

#include "fwbase/support/thread_safety.h"

namespace fwbase::support {

class FWBASE_CAPABILITY RwLock {
 public:
  RwLock() = default;
  RwLock(const RwLock&) = delete;
  RwLock& operator=(const RwLock&) = delete;

  /// Each says whether the lock was taken.
  bool acquire_read() FWBASE_ACQUIRE_SHARED() { return m_mutex.acquire_read() == 0; }
  bool acquire_write() FWBASE_ACQUIRE() { return m_mutex.acquire_write() == 0; }
  void release() FWBASE_RELEASE_GENERIC() { m_mutex.release(); }

  ACE_RW_Thread_Mutex& mutex() { return m_mutex; }

  /// Around fork(), in the thread that forks. No other thread changes what the lock guards while
  /// the process is copied, and the child's copy of the lock is free, or held by the thread that
  /// forked as it was before. Says whether the lock was got until the deadline (CLOCK_REALTIME):
  /// a thread that keeps it longer must not keep the host from forking.
  bool before_fork(const timespec& deadline);
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  enum class Fork { kNotHeld, kHeld, kHeldForWritingBefore };

  ACE_RW_Thread_Mutex m_mutex;
  Fork m_fork = Fork::kNotHeld;  // changed by one thread at a time: that which forks
};

/// Holds the lock for reading.
class FWBASE_SCOPED_CAPABILITY ReadGuard {
 public:
  explicit ReadGuard(RwLock& lock) FWBASE_ACQUIRE_SHARED(lock)
      : m_lock(lock), m_taken(lock.acquire_read()) {}
  ~ReadGuard() FWBASE_RELEASE_GENERIC() {
    if (m_taken) {
      m_lock.release();
    }
  }
  ReadGuard(const ReadGuard&) = delete;
  ReadGuard& operator=(const ReadGuard&) = delete;

 private:
  RwLock& m_lock;
  const bool m_taken;
};

/// Holds the lock for writing.
class FWBASE_SCOPED_CAPABILITY WriteGuard {
 public:
  explicit WriteGuard(RwLock& lock) FWBASE_ACQUIRE(lock)
      : m_lock(lock), m_taken(lock.acquire_write()) {}
  ~WriteGuard() FWBASE_RELEASE() {
    if (m_taken) {
      m_lock.release();
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
  explicit WriteRelease(RwLock& lock) FWBASE_RELEASE(lock) : m_lock(lock) { lock.release(); }
  // Annotated as a release, as the analysis wants of a scope that gave its lock up: it then
  // counts the lock as held again.
  ~WriteRelease() FWBASE_RELEASE() FWBASE_NO_THREAD_SAFETY_ANALYSIS { m_lock.acquire_write(); }
  WriteRelease(const WriteRelease&) = delete;
  WriteRelease& operator=(const WriteRelease&) = delete;

 private:
  RwLock& m_lock;
};

}  // namespace fwbase::support

#endif
