// A mutex for what a forked child goes on using, and its owner.
#ifndef SUPPORT_FORK_MUTEX_H
#define SUPPORT_FORK_MUTEX_H

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <new>

#include "support/thread_safety.h"

namespace support {

/// It is free in the child, and no thread of the parent was changing what it guards, unless one had
/// not come to an end of that by the deadline.
class FWBASE_CAPABILITY ForkMutex {
 public:
  ForkMutex() = default;
  ForkMutex(const ForkMutex&) = delete;
  ForkMutex& operator=(const ForkMutex&) = delete;

  /// Around fork(), in the thread that forks. deadline   CLOCK_REALTIME
  void before_fork(const timespec& deadline) {
    m_held = ::pthread_mutex_timedlock(m_mutex.native_handle(), &deadline) == 0;
  }
  void after_fork_in_parent() {
    if (m_held) {
      m_mutex.unlock();
    }
  }
  /// Says whether the mutex was got before the deadline. Without before_fork() it is made anew.
  bool after_fork_in_child() {
    const bool held = m_held;
    m_held = false;
    if (held) {
      m_mutex.unlock();
    } else {
      new (&m_mutex) std::mutex;
    }
    return held;
  }

 private:
  friend class MutexGuard;

  std::mutex m_mutex;
  bool m_held = false;  // changed by one thread at a time: that which forks
};

/// Holds the mutex.
class FWBASE_SCOPED_CAPABILITY MutexGuard {
 public:
  explicit MutexGuard(ForkMutex& mutex) FWBASE_ACQUIRE(mutex) : m_lock(mutex.m_mutex) {}
  ~MutexGuard() FWBASE_RELEASE() {}
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

  /// Gives the mutex back before the end of the scope.
  void unlock() FWBASE_RELEASE() { m_lock.unlock(); }

  /// Gives it up while the thread waits.
  void wait(std::condition_variable& condition) { condition.wait(m_lock); }
  void wait_for(std::condition_variable& condition, std::chrono::microseconds limit) {
    condition.wait_for(m_lock, limit);
  }

 private:
  std::unique_lock<std::mutex> m_lock;
};

}  // namespace support

#endif
