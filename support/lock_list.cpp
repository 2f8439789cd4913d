// The child of a fork has one thread, a copy of that which forked. Locks that other threads held
// would stay locked in it for ever, and what they guard half changed: so the thread that forks
// takes all locks before, and the child makes each anew.
#include "support/lock_list.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <utility>

#include "support/cancellation_block.h"
#include "support/mutex.h"
#include "support/reader_marks.h"

namespace support {

namespace {

constexpr std::time_t kPatience = 1;  // seconds: a busy thread must not keep the host from forking

/// The locks of one rank.
struct Locks {
  Mutex mutex;
  ListedLock* first FWBASE_GUARDED_BY(mutex) = nullptr;
};

constinit std::array<Locks, static_cast<std::size_t>(LockRank::kLast) + 1> all_locks;

constinit Mutex forking;
constinit std::atomic<void (*)()> preparation{nullptr};  // null: forks are not watched

Locks& locks_of(LockRank rank) { return all_locks[static_cast<std::size_t>(rank)]; }

}  // namespace

void ListedLock::join() {
  Locks& locks = locks_of(m_rank);
  const MutexGuard guard(locks.mutex);
  m_next = std::exchange(locks.first, this);
  m_link = &locks.first;
  if (m_next != nullptr) {
    m_next->m_link = &m_next;
  }
}

void ListedLock::leave() {
  const MutexGuard guard(locks_of(m_rank).mutex);
  *m_link = m_next;
  if (m_next != nullptr) {
    m_next->m_link = m_link;
  }
}

// From here on until after the fork no lock joins or leaves. A thread may make and destroy locks
// while it holds one of a lower rank: the list of each rank is closed only when the locks of the
// rank before are taken.
//
// A thread that is to be cancelled forks before that, and so does the child's copy of it.
void ListedLock::before_fork() FWBASE_NO_THREAD_SAFETY_ANALYSIS {
  const CancellationBlock no_cancellation;
  preparation.load()();
  forking.lock();
  timespec deadline;
  ::clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += kPatience;
  for (Locks& locks : all_locks) {
    locks.mutex.lock();
    for (ListedLock* lock = locks.first; lock != nullptr; lock = lock->m_next) {
      lock->m_taken = lock->take(deadline);
    }
  }
}

void ListedLock::after_fork(bool in_child) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
  const CancellationBlock no_cancellation;
  for (std::size_t rank = all_locks.size(); rank-- > 0;) {
    for (ListedLock* lock = all_locks[rank].first; lock != nullptr; lock = lock->m_next) {
      if (in_child) {
        lock->make_anew(lock->m_taken);
        if (lock->m_in_child) {
          lock->m_in_child(lock->m_taken);
        }
      } else if (lock->m_taken) {
        lock->give_back();
      }
    }
    all_locks[rank].mutex.unlock();
  }
  forking.unlock();
}

void ListedLock::watch_forks(void (*prepare)()) {
  const auto in_parent = [] { after_fork(false); };
  const auto in_child = [] {
    ReaderMarks::remove_those_of_others();
    after_fork(true);
  };
  void (*none)() = nullptr;
  if (preparation.compare_exchange_strong(none, prepare) &&
      ::pthread_atfork(&before_fork, in_parent, in_child) != 0) {
    preparation = nullptr;
  }
}

}  // namespace support
