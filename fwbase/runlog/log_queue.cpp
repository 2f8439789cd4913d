// Producers append packed records to a buffer, and the writer takes the buffer away.
#include "fwbase/runlog/log_queue.h"

#include <cerrno>
#include <chrono>
#include <new>

#include "fwbase/runlog/packed_record.h"

namespace fwbase {

using support::MutexGuard;

namespace {

constexpr std::chrono::microseconds kNap(500);

/// After so many naps without a record the writer goes to sleep.
constexpr int kNaps = 16;

/// What is kept for the next records; one that was larger is given back.
constexpr std::size_t kKeptRoom = 4 * LogQueue::kMark;

}  // namespace

// --- Producers ---

bool LogQueue::push(const LogRecord& record, unsigned int round) {
  MutexGuard lock(m_mutex);
  if (round != m_round) {
    return false;
  }
  while (m_records.size() >= kMark) {
    wait_for_room(lock);
  }
  try {
    pack_record(record, m_records);
  } catch (const std::exception&) {
    errno = ENOMEM;
    return true;
  }
  if (wants_writer()) {
    m_writer = Writer::kAwake;
    lock.unlock();
    m_filled.notify_one();
  }
  return true;
}

// A thread may be cancelled while it waits; the end of the round may be waiting for it.
void LogQueue::wait_for_room(MutexGuard& lock) {
  struct Waiting {
    LogQueue& queue;
    ~Waiting() FWBASE_NO_THREAD_SAFETY_ANALYSIS {
      if (--queue.m_waiting == 0 && queue.m_round_ends) {
        queue.m_filled.notify_one();
      }
    }
  } const waiting{*this};
  ++m_waiting;
  lock.wait(m_room);
}

bool LogQueue::wants_writer() {
  return m_writer == Writer::kAsleep ||
         (m_writer == Writer::kNapping && m_records.size() >= kMark / 2);
}

unsigned int LogQueue::waiting_producers() const {
  const MutexGuard lock(m_mutex);
  return m_waiting;
}

// --- The writer ---

bool LogQueue::take(std::vector<char>& records) {
  records.clear();
  if (records.capacity() > kKeptRoom) {
    std::vector<char>().swap(records);
  }
  MutexGuard lock(m_mutex);
  wait_for_records(lock);
  records.swap(m_records);
  if (m_waiting != 0) {
    m_room.notify_all();
  }
  m_round_ends = m_round_ends && !records.empty();
  return !records.empty();
}

void LogQueue::wait_for_records(MutexGuard& lock) {
  for (int naps = 0; m_records.empty() && (!m_round_ends || m_waiting != 0); ++naps) {
    if (naps < kNaps) {
      m_writer = Writer::kNapping;
      lock.wait_for(m_filled, kNap);
    } else {
      m_writer = Writer::kAsleep;
      lock.wait(m_filled);
    }
  }
  m_writer = Writer::kAwake;
}

void LogQueue::begin_round(unsigned int round) {
  const MutexGuard lock(m_mutex);
  m_round = round;
  m_round_ends = true;
  m_filled.notify_all();
}

// --- Forks ---

// Threads of the parent may be waiting, and the child has only copies of what they wait for: all is
// made anew.
void LogQueue::after_fork_in_child() {
  if (m_mutex.after_fork_in_child()) {
    std::vector<char>().swap(m_records);
  }
  new (this) LogQueue;
}

}  // namespace fwbase
