// Each read begins with the last known bytes. Where these differ, the file was truncated and
// written anew.
#include "log_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <utility>

namespace fwlog {

using log_records::Splitter;

namespace {

constexpr std::size_t kBlock = 256 * 1024;

// When a file was last changed, by the clock for waiting. A time in the future counts as now.
Clock::time_point last_change(const struct stat& status) {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const auto age = seconds(now.tv_sec - status.st_mtim.tv_sec) +
                   nanoseconds(now.tv_nsec - status.st_mtim.tv_nsec);
  return Clock::now() - std::clamp<nanoseconds>(age, seconds(0), seconds(3600));
}

}  // namespace

LogFile::LogFile(int descriptor, std::string name, FileId id, bool is_seekable,
                 Clock::time_point grown, Splitter::LookAhead look_ahead)
    : m_descriptor(descriptor),
      m_name(std::move(name)),
      m_id(id),
      m_is_seekable(is_seekable),
      m_grown(grown),
      m_records(look_ahead),
      m_known() {}

LogFile::~LogFile() { close(m_descriptor); }

std::unique_ptr<LogFile> LogFile::open(const std::string& name, Splitter::LookAhead look_ahead) {
  const bool is_input = name == kStandardInput;
  const int descriptor = is_input ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                  : ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) {
    return nullptr;
  }
  struct stat status = {};
  const bool is_known = fstat(descriptor, &status) == 0;
  if (!is_known || S_ISDIR(status.st_mode)) {
    close(descriptor);
    errno = is_known ? EISDIR : errno;
    return nullptr;
  }
  const FileId id{status.st_dev, status.st_ino};
  // Standard input is read on from where it stands.
  const bool is_seekable = S_ISREG(status.st_mode) && !is_input;
  return std::make_unique<LogFile>(descriptor, name, id, is_seekable, last_change(status),
                                   look_ahead);
}

LogFile::Block LogFile::read() {
  const auto room = m_records.room(kBlock);
  const std::size_t known = m_is_seekable ? m_known_size : 0;
  char again[kKnown];
  const iovec parts[] = {{again, known}, {room.data(), kBlock}};
  ssize_t got = 0;
  do {
    got = m_is_seekable ? preadv(m_descriptor, parts, 2, static_cast<off_t>(m_position - known))
                        : ::read(m_descriptor, room.data(), kBlock);
  } while (got < 0 && errno == EINTR);
  if (got < 0) {
    return Block::kFailed;
  }
  const auto size = static_cast<std::size_t>(got);
  if (size < known || std::memcmp(again, m_known.data() + kKnown - m_known_size, known) != 0) {
    return Block::kTruncated;
  }
  if (size == known) {
    return Block::kEnd;
  }
  m_records.added(size - known);
  keep_known(room.data(), size - known);
  m_position += size - known;
  m_grown = Clock::now();
  return Block::kBytes;
}

// The bytes stand at the end of the array.
void LogFile::keep_known(const char* block, std::size_t size) {
  const std::size_t taken = std::min(size, kKnown);
  std::memmove(m_known.data(), m_known.data() + taken, kKnown - taken);
  std::memcpy(m_known.data() + kKnown - taken, block + size - taken, taken);
  m_known_size = std::min(m_known_size + taken, kKnown);
}

bool LogFile::is_removed() const {
  struct stat status = {};
  return fstat(m_descriptor, &status) == 0 && status.st_nlink == 0;
}

void LogFile::restart() {
  m_records.restart();
  m_position = 0;
  m_known_size = 0;
}

}  // namespace fwlog
