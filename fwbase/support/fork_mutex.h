// A mutex for what a forked child goes on using.
#ifndef FWBASE_SUPPORT_FORK_MUTEX_H
#define FWBASE_SUPPORT_FORK_MUTEX_H

#include <pthread.h>

#include <ctime>
#include <mutex>
#include <new>

namespace fwbase::support {

/// It is free in the child, and no thread of the parent was changing what it guards, unless one had
/// not come to an end of that by the deadline.
class ForkMutex : public std::mutex {
 public:
  /// Around fork(), in the thread that forks. deadline   CLOCK_REALTIME
  void before_fork(const timespec& deadline) {
    m_held = ::pthread_mutex_timedlock(native_handle(), &deadline) == 0;
  }
  void after_fork_in_parent() {
    if (m_held) {
      unlock();
    }
  }
  /// Says whether the mutex was got before the deadline.
  bool after_fork_in_child() {
    const bool held = m_held;
    if (held) {
      unlock();
    } else {
      new (static_cast<std::mutex*>(this)) std::mutex;
    }
    return held;
  }

 private:
  bool m_held = false;  // changed by one thread at a time: that which forks
};

}  // namespace fwbase::support

#endif
