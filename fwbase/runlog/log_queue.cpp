#include "fwbase/runlog/log_queue.h"

#include <cerrno>
#include <chrono>
#include <new>

#include "fwbase/runlog/packed_record.h"

namespace fwbase {

namespace {

constexpr std::chrono::microseconds kNap(500);

/// After so many naps without a record the writer goes to sleep.
constexpr int kNaps = 16;

/// What is kept for the next records; one that was larger is given back.
constexpr std::size_t kKeptRoom = 4 * LogQueue::kMark;

}  // namespace

// --- Producers ---

LogQueue::Push LogQueue::push(const LogRecord& record, unsigned int round) {
  std::unique_lock<std::mutex> lock(m_mutex);
  if (round != m_round) {
    return Push::kRoundOver;
  }
  while (m_records.size() >= kMark) {
    wait_for_room(lock);
  }
  try {
    pack_record(record, m_records);
  } catch (const std::exception&) {
    errno = ENOMEM;
    return Push::kNoMemory;
  }
  if (call_writer()) {
    lock.unlock();
    m_filled.notify_one();
  }
  return Push::kDone;
}

// A thread may be cancelled while it waits; the end of the round may be waiting for it.
void LogQueue::wait_for_room(std::unique_lock<std::mutex>& lock) {
  struct Waiting {
    explicit Waiting(LogQueue& full) : queue(full) { ++queue.m_waiting; }
    ~Waiting() {
      if (--queue.m_waiting == 0 && !queue.m_open) {
        queue.m_filled.notify_one();
      }
    }
    LogQueue& queue;
  } const waiting(*this);
  m_room.wait(lock);
}

bool LogQueue::call_writer() {
  const bool wanted = m_writer == Writer::kAsleep ||
                      (m_writer == Writer::kNapping && m_records.size() >= kMark / 2);
  if (wanted) {
    m_writer = Writer::kAwake;
  }
  return wanted;
}

// --- The writer ---

bool LogQueue::take(std::vector<char>& records) {
  records.clear();
  if (records.capacity() > kKeptRoom) {
    std::vector<char>().swap(records);
  }
  std::unique_lock<std::mutex> lock(m_mutex);
  wait_for_records(lock);
  records.swap(m_records);
  if (m_waiting != 0) {
    m_room.notify_all();
  }
  if (records.empty()) {
    ++m_round;
  }
  return !records.empty();
}

void LogQueue::wait_for_records(std::unique_lock<std::mutex>& lock) {
  for (int naps = 0; m_records.empty() && (m_open || m_waiting != 0); ++naps) {
    if (naps < kNaps) {
      m_writer = Writer::kNapping;
      m_filled.wait_for(lock, kNap);
    } else {
      m_writer = Writer::kAsleep;
      m_filled.wait(lock);
    }
  }
  m_writer = Writer::kAwake;
}

// --- Rounds ---

void LogQueue::close() {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_open = false;
  m_filled.notify_all();
}

void LogQueue::open() {
  const std::lock_guard<std::mutex> guard(m_mutex);
  m_open = true;
}

bool LogQueue::full() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return m_records.size() >= kMark;
}

bool LogQueue::empty() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return m_records.empty();
}

unsigned int LogQueue::waiting_producers() const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  return m_waiting;
}

// --- Forks ---

void LogQueue::before_fork(const timespec& deadline) { m_mutex.before_fork(deadline); }

void LogQueue::after_fork_in_parent() { m_mutex.after_fork_in_parent(); }

// Threads of the parent may be waiting, and the child has only copies of what they wait for: all is
// made anew.
void LogQueue::after_fork_in_child() {
  if (m_mutex.after_fork_in_child()) {
    std::vector<char>().swap(m_records);
  }
  new (this) LogQueue;
}

}  // namespace fwbase
