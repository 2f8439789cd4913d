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

void LogQueue::push(const LogRecord& record) {
  MutexGuard lock(m_mutex);
  while (m_open && m_records.size() >= kMark) {
    lock.wait(m_room);
  }
  try {
    pack_record(record, m_records);
  } catch (const std::exception&) {
    errno = ENOMEM;
    return;
  }
  if (wants_writer()) {
    m_writer = Writer::kAwake;
    lock.unlock();
    m_filled.notify_one();
  }
}

bool LogQueue::wants_writer() {
  return m_writer == Writer::kAsleep ||
         (m_writer == Writer::kNapping && m_records.size() >= kMark / 2);
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
  m_room.notify_all();
  return !records.empty();
}

void LogQueue::wait_for_records(MutexGuard& lock) {
  for (int naps = 0; m_records.empty() && m_open; ++naps) {
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

void LogQueue::set_open(bool open) {
  const MutexGuard lock(m_mutex);
  m_open = open;
  m_filled.notify_all();
  m_room.notify_all();
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
