// Producers append packed records to a buffer, and the writer takes the buffer away.
#include "fwbase/runlog/log_queue.h"

#include <cerrno>
#include <chrono>
#include <new>
#include <utility>

#include "fwbase/runlog/packed_record.h"

namespace fwbase {

using support::MutexGuard;

namespace {

/// The time after which a writer that naps looks for records.
constexpr std::chrono::microseconds kNap(500);

/// The number of naps without a record after which the writer goes to sleep.
constexpr int kNaps = 16;

/// The largest buffer that the writer keeps for the next records, as a multiple of the queue's
/// bytes. A larger buffer is freed.
constexpr std::size_t kKeptTimes = 4;

}  // namespace

void LogQueue::options(const LogOptions& options) {
  const MutexGuard lock(m_mutex);
  m_options = options;
}

std::size_t LogQueue::bytes() {
  const MutexGuard lock(m_mutex);
  return m_options.queue_bytes;
}

void LogQueue::journal(LogJournal* journal) {
  const MutexGuard lock(m_mutex);
  m_journal = journal;
}

// --- Producers ---

void LogQueue::push(const LogRecord& record) {
  MutexGuard lock(m_mutex);
  bool is_large = false;
  std::uint64_t begin = journal_begin();
  Appended appended = append(record, is_large);
  while (appended != Appended::kYes && appended != Appended::kNever) {
    if (drops(record.type)) {
      ++m_dropped.queue_full;
      return;
    }
    is_large = is_large || appended == Appended::kLargerThanJournal;
    wait_for_room(lock, is_large, appended != Appended::kQueueFull, begin);
    begin = journal_begin();
    appended = append(record, is_large);
  }
  if (wants_writer()) {
    m_writer = Writer::kAwake;
    lock.unlock();
    m_filled.notify_one();
  }
}

bool LogQueue::drops(IRunLog::Type level) const {
  return m_options.when_full == LogOptions::kDropNew ||
         (m_options.when_full == LogOptions::kDropBelow && (level & m_options.keep_level) == 0);
}

LogQueue::Appended LogQueue::append(const LogRecord& record, bool is_large) {
  if (is_full(is_large)) {
    return Appended::kQueueFull;
  }
  const std::size_t before = m_records.size();
  try {
    pack_record(record, m_records);
  } catch (const std::exception&) {
    errno = ENOMEM;
    return Appended::kNever;
  }
  const Appended kept = m_journal != nullptr ? keep(before) : Appended::kYes;
  if (kept != Appended::kYes) {
    m_records.resize(before);
  }
  return kept;
}

// A record that is longer than the journal waits until the journal is empty. Other records wait
// behind it: if they did not, the journal might never be empty.
LogQueue::Appended LogQueue::keep(std::size_t from) {
  const std::size_t size = m_records.size() - from;
  if (size > m_journal->capacity()) {
    if (!m_journal->is_empty()) {
      return Appended::kLargerThanJournal;
    }
    if (!m_journal->grow(size)) {
      ++m_dropped.no_room;
      return Appended::kNever;
    }
  }
  if (!m_journal->has_room(size)) {
    return Appended::kJournalFull;
  }
  m_journal->put(m_records.data() + from, size);
  return Appended::kYes;
}

// take() wakes the threads that wait for room in the queue. journal_has_room() wakes the threads
// that wait for room in the journal, but takes the mutex only when it sees one of them. So a
// producer first counts itself, and then waits only if the journal's begin has not moved since it
// looked for room. A destructor ends the wait, since the thread may be cancelled meanwhile, and the
// writer or other threads may be waiting for it.
void LogQueue::wait_for_room(MutexGuard& lock, bool for_large, bool for_journal,
                             std::uint64_t seen_begin) {
  struct Waiting {
    LogQueue& queue;
    const bool for_large;
    const bool for_journal;
    ~Waiting() FWBASE_NO_THREAD_SAFETY_ANALYSIS {
      queue.m_waiting_for_journal -= for_journal ? 1 : 0;
      if (for_large) {
        --queue.m_large_waiting;
        queue.m_room.notify_all();
      }
      if (--queue.m_waiting == 0 && !queue.m_open) {
        queue.m_filled.notify_one();
      }
    }
  } const waiting{*this, for_large, for_journal};
  ++m_waiting;
  m_waiting_for_journal += for_journal ? 1 : 0;
  m_large_waiting += for_large ? 1 : 0;
  if (!for_journal || journal_begin() == seen_begin) {
    lock.wait(m_room);
  }
}

bool LogQueue::wants_writer() {
  return m_writer == Writer::kAsleep ||
         (m_writer == Writer::kNapping && m_records.size() >= m_options.queue_bytes / 2);
}

// --- The writer ---

bool LogQueue::take(std::vector<char>& records) {
  records.clear();
  MutexGuard lock(m_mutex);
  if (records.capacity() / kKeptTimes > m_options.queue_bytes) {
    std::vector<char>().swap(records);
  }
  wait_for_records(lock);
  records.swap(m_records);
  m_room.notify_all();
  return !records.empty() || m_dropped.no_room != 0;
}

LogQueue::Dropped LogQueue::take_dropped() {
  const MutexGuard lock(m_mutex);
  return std::exchange(m_dropped, {});
}

void LogQueue::journal_has_room() {
  if (m_waiting_for_journal != 0) {
    const MutexGuard lock(m_mutex);
    m_room.notify_all();
  }
}

void LogQueue::wait_for_records(MutexGuard& lock) {
  for (int naps = 0; is_idle() && !has_ended(); ++naps) {
    if (naps < kNaps) {
      m_writer = Writer::kNapping;
      lock.wait_until(m_filled, std::chrono::steady_clock::now() + kNap);
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

// The queued records and the writer belong to the parent. The parent's threads may be waiting for
// the condition variables: the child makes its copies anew. It does not free records that another
// thread was changing.
void LogQueue::in_child(bool whole) {
  if (whole) {
    std::vector<char>().swap(m_records);
  }
  new (&m_records) std::vector<char>;
  new (&m_room) std::condition_variable;
  new (&m_filled) std::condition_variable;
  m_journal = nullptr;
  m_dropped = {};
  m_waiting = 0;
  m_waiting_for_journal = 0;
  m_large_waiting = 0;
  m_writer = Writer::kAwake;
  m_open = true;
}

}  // namespace fwbase
