// The slow paths of the lock, and the lock in a process that forks.
#include "support/rw_lock.h"

#include <pthread.h>

#include <cerrno>
#include <new>

namespace support {

// The number of reads since the last write after which marks count. It must be large enough to make
// up for the cost: the next write has to look at the marks of all threads.
constexpr int kReadsBetweenWrites = 32;

// A thread that holds the lock for reading gets it again, even while writers wait: its first mark
// keeps writers away, or else the system's lock prefers readers.
RwLock::Read RwLock::acquire_read_by_system() {
  ReaderMarks* const marks = ReaderMarks::of_thread_if_any();
  if (marks != nullptr && marks->contain(this) && marks->set(this) != nullptr) {
    return {marks, false};
  }
  if (m_mutex.acquire_read() != 0) {
    return {nullptr, false};
  }
  let_marks_count();
  return {nullptr, true};
}

void RwLock::let_marks_count() {
  unsigned int marks = m_marks;
  if ((marks & kAll) == kIgnored && m_writers == 0 &&
      m_reads.fetch_add(1, std::memory_order_relaxed) >= kReadsBetweenWrites) {
    m_marks.compare_exchange_strong(marks, marks + kCount);
  }
}

bool RwLock::acquire_write() {
  const bool taken = acquire_write_at_once() || wait_to_write();
  if (taken) {
    m_reads.store(0, std::memory_order_relaxed);
  }
  return taken;
}

// While marks are ignored, readers take the system's lock. So a writer that gets it at once need
// not make readers aware of itself.
bool RwLock::acquire_write_at_once() {
  if ((m_marks & kAll) != kIgnored) {
    return false;
  }
  const int reason = errno;
  if (m_mutex.tryacquire_write() != 0) {
    errno = reason;
    return false;
  }
  return !has_lost_to_marks();
}

bool RwLock::wait_to_write() {
  ++m_writers;
  bool taken = false;
  do {
    wait_for_marks();
    taken = m_mutex.acquire_write() == 0;
  } while (taken && has_lost_to_marks());
  --m_writers;
  return taken;
}

// A reader that had not seen this writer may have set kCount meanwhile.
bool RwLock::has_lost_to_marks() {
  if ((m_marks & kAll) == kIgnored) {
    return false;
  }
  m_mutex.release();
  return true;
}

// The writer does not hold the system's lock while it waits: a thread with a mark may itself be
// waiting for a new reader, which takes that lock. Each writer waits for the marks itself, for
// another writer may have set kEnd only just now.
void RwLock::wait_for_marks() {
  unsigned int marks = m_marks;
  if ((marks & kAll) == kCount && m_marks.compare_exchange_strong(marks, marks + kCount)) {
    marks += kCount;
  }
  if ((marks & kAll) == kEnd) {
    ReaderMarks::wait_until_gone(this);
    m_marks.compare_exchange_strong(marks, (marks & ~kAll) + kRound);
  }
}

// --- Forks ---

bool RwLock::take(const timespec& deadline) {
  pthread_rwlock_t& lock = const_cast<ACE_rwlock_t&>(m_mutex.lock());
  const int result = ::pthread_rwlock_timedrdlock(&lock, &deadline);
  m_written_by_fork = result == EDEADLK;
  return result == 0 || m_written_by_fork;
}

void RwLock::give_back() {
  if (!m_written_by_fork) {
    m_mutex.release();
  }
}

// Makes a new lock in the child, even when the thread held the old one for writing: the system
// knows a writer by its thread id, and the child's id is another one. The release is only for tools
// that track which locks a thread holds.
void RwLock::make_anew(bool taken) {
  if (taken) {
    m_mutex.release();
  }
  new (&m_mutex) ACE_RW_Thread_Mutex;
  m_writers = 0;
  if (m_written_by_fork) {
    m_mutex.acquire_write();
  }
}

}  // namespace support
