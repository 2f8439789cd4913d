// What happens to a lock when the process forks.
//
// The child has one thread, a copy of that which forked. Locks that other threads held would stay
// locked in it for ever, so each is made anew. Giving back is not enough even for the thread's own
// hold: the system tells a writer by its thread id, which is another one in the child.
#include "fwbase/support/rw_lock.h"

#include <pthread.h>

#include <cerrno>
#include <new>

namespace fwbase::support {

bool RwLock::before_fork(const timespec& deadline) {
  pthread_rwlock_t& lock = const_cast<ACE_rwlock_t&>(m_mutex.lock());
  switch (pthread_rwlock_timedrdlock(&lock, &deadline)) {
    case 0:
      m_fork = Fork::kHeld;
      return true;
    case EDEADLK:
      m_fork = Fork::kHeldForWritingBefore;
      return true;
    default:
      m_fork = Fork::kNotHeld;
      return false;
  }
}

void RwLock::after_fork_in_parent() {
  if (m_fork == Fork::kHeld) {
    m_mutex.release();
  }
}

// Given back first, for the tools that keep account of what a thread holds.
void RwLock::after_fork_in_child() {
  if (m_fork != Fork::kNotHeld) {
    m_mutex.release();
  }
  new (&m_mutex) ACE_RW_Thread_Mutex;
  if (m_fork == Fork::kHeldForWritingBefore) {
    m_mutex.acquire_write();
  }
}

}  // namespace fwbase::support
