// A log file that is open for appending.
#include "fwbase/runlog/log_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#include "support/cancellation_block.h"
#include "support/uninterrupted.h"
#include "support/write_signal_block.h"

namespace fwbase {

namespace {

/// The time for which a counted position is taken for the true one.
constexpr std::chrono::microseconds kTrusted(50);

/// The number of attempts to lock the file, one millisecond apart.
constexpr int kLockTries = 100;

int open_to_append(const char* path, int flags) {
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY;
  return support::uninterrupted([=] { return ::open(path, kFlags | flags, 0666); });
}

bool files_are_limited() {
  rlimit limit;
  return ::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

}  // namespace

bool LogFile::open(const char* path) {
  const int descriptor = open_to_append(path, O_CREAT);
  if (descriptor < 0) {
    return false;
  }
  struct stat status;
  const bool is_known = ::fstat(descriptor, &status) == 0;
  take(descriptor, is_known ? status.st_mode : S_IFREG);
  return true;
}

// With O_NONBLOCK, open() does not wait where the path leads to a FIFO or a device.
bool LogFile::open_regular(const char* path) {
  const int descriptor = open_to_append(path, O_CREAT | O_NONBLOCK);
  if (descriptor < 0) {
    return false;
  }
  struct stat status;
  const bool is_known = ::fstat(descriptor, &status) == 0;
  if (!is_known || !S_ISREG(status.st_mode)) {
    const int reason = is_known ? EEXIST : errno;
    ::close(descriptor);
    errno = reason;
    return false;
  }
  take(descriptor, status.st_mode);
  return true;
}

void LogFile::take(int descriptor, mode_t type) {
  close();
  m_descriptor = descriptor;
  m_write_may_wait = !S_ISREG(type);
  m_write_may_signal = S_ISFIFO(type) || files_are_limited();
  m_position = -1;
  m_position_known_at = Clock::time_point();
}

// The destructor calls this. A cancellation that leaves a destructor ends the process.
void LogFile::close() {
  if (m_descriptor >= 0) {
    const support::CancellationBlock no_cancellation;
    ::close(m_descriptor);
    m_descriptor = -1;
  }
}

bool LogFile::status(struct stat& status) const { return ::fstat(m_descriptor, &status) == 0; }

LogFile::Appended LogFile::append(const RecordTexts& texts, std::size_t first, std::size_t count) {
  std::optional<support::WriteSignalBlock> no_signals;
  if (m_write_may_signal) {
    no_signals.emplace();
  }
  std::optional<support::CancellationBlock> no_cancellation;  // once a record has begun
  if (m_write_may_wait) {
    wait_for_room();
    no_cancellation.emplace();
  }
  const std::size_t end = texts.end_of(first + count - 1);
  std::size_t written = texts.begin_of(first);
  while (written < end) {
    const ssize_t size = support::uninterrupted(
        [&] { return ::write(m_descriptor, texts.bytes().data() + written, end - written); });
    if (size <= 0) {
      return give_up(texts, first, written);
    }
    written += static_cast<std::size_t>(size);
    if (written < end && !no_cancellation) {
      no_cancellation.emplace();
    }
  }
  this->count(end - texts.begin_of(first));
  return {count, true};
}

// A thread that waits in write() could be cancelled after a part of the record is written. So it
// waits here, where nothing is written yet.
void LogFile::wait_for_room() const {
  pollfd room = {m_descriptor, POLLOUT, 0};
  support::uninterrupted([&] { return ::poll(&room, 1, -1); });
}

std::int64_t LogFile::position() {
  m_position = ::lseek(m_descriptor, 0, SEEK_CUR);
  m_position_known_at = Clock::now();
  return m_position;
}

// Counts the position: a system call for each record would add much to the cost of the write.
void LogFile::count(std::size_t written) {
  if (Clock::now() - m_position_known_at > kTrusted) {
    position();
  } else if (m_position >= 0) {
    m_position += static_cast<std::int64_t>(written);
  }
}

LogFile::Appended LogFile::give_up(const RecordTexts& texts, std::size_t first,
                                   std::size_t written) {
  std::size_t failed = first;
  while (texts.end_of(failed) <= written) {
    ++failed;
  }
  cut_back(written - texts.begin_of(failed));
  return {failed - first + 1, false};
}

// Leaves the file alone when another process has appended behind the broken record: then the file
// is longer than our position, which is the end of our last write.
void LogFile::cut_back(std::size_t written) {
  const int reason = errno;
  struct stat status;
  const std::int64_t end = position();
  const std::int64_t whole = end - static_cast<std::int64_t>(written);
  if (written != 0 && ::fstat(m_descriptor, &status) == 0 && status.st_size == end &&
      ::ftruncate(m_descriptor, whole) == 0) {
    m_position = whole;
  }
  errno = reason;
}

// --- Other processes ---

// Another log holds the lock only for the moment of a rotation. A process that holds it for longer
// has other reasons, and must not hold up the host. Some file systems have no locks.
void LogFile::lock() {
  constexpr timespec kPause = {0, 1000000};
  for (int tries = 0;
       tries < kLockTries && ::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
       ++tries) {
    ::nanosleep(&kPause, nullptr);
  }
}

void LogFile::unlock() { ::flock(m_descriptor, LOCK_UN); }

void LogFile::part_from_parent() {
  struct stat status;
  char own[32];
  std::snprintf(own, sizeof own, "/proc/self/fd/%d", m_descriptor);
  const bool has_position = ::fstat(m_descriptor, &status) == 0 && S_ISREG(status.st_mode);
  const int reopened = has_position ? open_to_append(own, 0) : -1;
  if (reopened >= 0) {
    ::dup3(reopened, m_descriptor, O_CLOEXEC);
    ::close(reopened);
    m_position = -1;
    m_position_known_at = Clock::time_point();
  }
}

}  // namespace fwbase
