// A log file that is open for appending.
#include "fwbase/runlog/log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace fwbase {

bool LogFile::open(const char* path, Content content) {
  close();
  const int discard = content == Content::kDiscard ? O_TRUNC : 0;
  m_descriptor = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | discard, 0666);
  return m_descriptor >= 0;
}

void LogFile::close() {
  if (m_descriptor >= 0) {
    ::close(m_descriptor);
    m_descriptor = -1;
  }
}

bool LogFile::append(const std::string& bytes) {
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
  struct stat status;
  const std::int64_t end = position();
  if (written > 0 && ::fstat(m_descriptor, &status) == 0 && status.st_size == end) {
    const int saved = errno;
    if (::ftruncate(m_descriptor, end - static_cast<std::int64_t>(written)) != 0) {
      errno = saved;  // the reason for the lost record says more
    }
  }
}

}  // namespace fwbase
