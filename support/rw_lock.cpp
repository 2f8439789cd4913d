// The slow ways of the lock, and what happens to it when the process forks.
#include "support/rw_lock.h"

#include <pthread.h>

#include <cerrno>
#include <new>

namespace support {

// Between one write and the next so many reads must pay for letting marks count, since the next
// write has to look at the marks of all threads.
constexpr int kReadsBetweenWrites = 32;

// A thread that reads already gets the lock once more, whoever waits for writing: by its mark that
// keeps writers away, or by the system's lock, which prefers readers.
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

// Where no mark counts, a writer that need not wait is seen by no reader.
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

// A reader that had not seen this writer may have let marks count meanwhile.
bool RwLock::has_lost_to_marks() {
  if ((m_marks & kAll) == kIgnored) {
    return false;
  }
  m_mutex.release();
  return true;
}

// The system's lock is not held: until the marks are gone, it is open to readers that one of the
// marked threads may be waiting for. Each writer waits for itself: another may have begun just now.
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

// Giving back is not enough even for the thread's own hold: the system tells a writer by its thread
// id, which is another one in the child. It is for the tools that keep account of what a thread
// holds.
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
