// A log file that is open for appending.
#include "fwbase/runlog/log_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <optional>

namespace fwbase {

namespace {

// Takes back the SIGPIPE of a write of this thread: that the reader of a FIFO has gone away must
// not end the host.
class NoPipeSignal {
 public:
  NoPipeSignal() {
    sigset_t pending;
    ::sigpending(&pending);
    m_was_pending = sigismember(&pending, SIGPIPE) == 1;
    sigemptyset(&m_pipe);
    sigaddset(&m_pipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
  }
  ~NoPipeSignal() {
    const int saved = errno;
    if (!m_was_pending) {
      const timespec at_once = {};
      ::sigtimedwait(&m_pipe, nullptr, &at_once);
    }
    ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    errno = saved;
  }
  NoPipeSignal(const NoPipeSignal&) = delete;
  NoPipeSignal& operator=(const NoPipeSignal&) = delete;

 private:
  bool m_was_pending;
  sigset_t m_pipe;
  sigset_t m_before;
};

}  // namespace

bool LogFile::open(const char* path, Content content) {
  close();
  const int discard = content == Content::kDiscard ? O_TRUNC : 0;
  m_descriptor = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | discard, 0666);
  struct stat status;
  m_pipe = m_descriptor >= 0 && ::fstat(m_descriptor, &status) == 0 && S_ISFIFO(status.st_mode);
  return m_descriptor >= 0;
}

void LogFile::close() {
  if (m_descriptor >= 0) {
    ::close(m_descriptor);
    m_descriptor = -1;
  }
}

bool LogFile::append(const std::string& bytes) {
  std::optional<NoPipeSignal> no_signal;
  if (m_pipe) {
    no_signal.emplace();
  }
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = ::write(m_descriptor, bytes.data() + written, bytes.size() - written);
    if (count >= 0) {
      written += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      cut_back(written);
      return false;
    }
  }
  return true;
}

std::int64_t LogFile::position() const { return ::lseek(m_descriptor, 0, SEEK_CUR); }

// Leaves the file alone when another process has appended behind the broken record.
void LogFile::cut_back(std::size_t written) {
  if (written == 0) {
    return;
  }
  const int reason = errno;
  struct stat status;
  const std::int64_t end = position();
  [[maybe_unused]] const bool whole_again =
      ::fstat(m_descriptor, &status) == 0 && status.st_size == end &&
      ::ftruncate(m_descriptor, end - static_cast<std::int64_t>(written)) == 0;
  errno = reason;
}

}  // namespace fwbase
