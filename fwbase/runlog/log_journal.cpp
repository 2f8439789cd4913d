// The ring and the header are mapped: the system keeps their bytes however the process ends. The
// order of the stores matters, since the process may end between any two of them.
#include "fwbase/runlog/log_journal.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "support/uninterrupted.h"
#include "support/write_signal_block.h"

namespace fwbase {

namespace {

constexpr int kFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

int open_journal(const std::string& path, int flags) {
  return support::uninterrupted([&] { return ::open(path.c_str(), kFlags | flags, 0600); });
}

std::size_t whole_pages(std::size_t size) {
  return (size + kJournalHeaderSize - 1) / kJournalHeaderSize * kJournalHeaderSize;
}

void* map(int descriptor, std::size_t offset, std::size_t size) {
  void* const mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor,
                              static_cast<off_t>(offset));
  // cppcheck-suppress memleak  ; the journal unmaps it
  return mapped != MAP_FAILED ? mapped : nullptr;
}

void store(std::uint64_t& field, std::uint64_t value) {
  std::atomic_ref<std::uint64_t>(field).store(value, std::memory_order_release);
}

}  // namespace

LogJournal::~LogJournal() {
  const int reason = errno;
  if (m_ring != nullptr) {
    ::munmap(m_ring, m_capacity);
  }
  if (m_header != nullptr) {
    ::munmap(m_header, kJournalHeaderSize);
  }
  ::close(m_descriptor);
  errno = reason;
}

void LogJournal::remove() {
  if (is_named()) {
    ::unlink(m_path.c_str());
  }
}

// --- The file ---

bool LogJournal::is_named() const {
  struct stat own;
  struct stat named;
  return ::fstat(m_descriptor, &own) == 0 && ::lstat(m_path.c_str(), &named) == 0 &&
         own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

LogJournal::Locked LogJournal::lock() const {
  struct flock whole = {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  if (::fcntl(m_descriptor, F_SETLK, &whole) != 0) {
    return errno == EAGAIN || errno == EACCES ? Locked::kByAnother : Locked::kFailed;
  }
  return is_named() ? Locked::kYes : Locked::kGone;
}

bool LogJournal::reserve(std::size_t capacity) {
  const support::WriteSignalBlock no_signals;  // a limit of the size of files would raise one
  int result = EINTR;
  while (result == EINTR) {
    result = ::posix_fallocate(m_descriptor, 0, static_cast<off_t>(kJournalHeaderSize + capacity));
  }
  errno = result;
  return result == 0;
}

bool LogJournal::map_header() {
  m_header = static_cast<JournalHeader*>(map(m_descriptor, 0, kJournalHeaderSize));
  return m_header != nullptr;
}

bool LogJournal::map_ring(std::size_t capacity) {
  void* const ring = map(m_descriptor, kJournalHeaderSize, capacity);
  if (ring == nullptr) {
    return false;
  }
  if (m_ring != nullptr) {
    ::munmap(m_ring, m_capacity);
  }
  m_ring = static_cast<char*>(ring);
  m_capacity = capacity;
  store(m_header->capacity, capacity);
  return true;
}

bool LogJournal::begin_file(std::size_t capacity) {
  if (::fchmod(m_descriptor, 0600) != 0 || !reserve(capacity) || !map_header() ||
      !map_ring(capacity)) {
    return false;
  }
  store(m_header->magic, kJournalMagic);
  return true;
}

std::unique_ptr<LogJournal> LogJournal::make(const std::string& path, std::size_t capacity) {
  const std::size_t room = whole_pages(capacity);
  if (room < capacity || room > static_cast<std::size_t>(INT64_MAX) - kJournalHeaderSize) {
    errno = EFBIG;
    return nullptr;
  }
  std::string name = path;
  const int descriptor = open_journal(path, O_CREAT | O_EXCL);
  if (descriptor < 0) {
    return nullptr;
  }
  std::unique_ptr<LogJournal> journal(new (std::nothrow) LogJournal(std::move(name), descriptor));
  if (!journal) {
    ::unlink(path.c_str());
    ::close(descriptor);
    errno = ENOMEM;
    return nullptr;
  }
  switch (journal->lock()) {
    case Locked::kYes:
      break;
    case Locked::kFailed: {
      const int reason = errno;
      journal->remove();
      errno = reason;
      return nullptr;
    }
    case Locked::kByAnother:  // that process takes it for a leftover and removes it
    case Locked::kGone:
      errno = EEXIST;
      return nullptr;
  }
  if (!journal->begin_file(room)) {
    const int reason = errno;
    journal->remove();
    errno = reason;
    return nullptr;
  }
  return journal;
}

// --- Adopting ---

LogJournal::Adopted LogJournal::adopt(const std::string& path, std::unique_ptr<LogJournal>& journal,
                                      JournalContent& content) {
  const int descriptor = open_journal(path, 0);
  if (descriptor < 0) {
    if (errno == ENOENT) {
      return Adopted::kNone;
    }
    return errno == ELOOP || errno == EACCES || errno == EISDIR || errno == ENXIO
               ? Adopted::kUntrusted
               : Adopted::kFailed;
  }
  struct Closing {
    int file;
    ~Closing() {
      if (file >= 0) {
        ::close(file);
      }
    }
  } closing{descriptor};
  std::unique_ptr<LogJournal> found(new LogJournal(path, descriptor));
  // cppcheck-suppress unreadVariable  ; its destructor reads it
  closing.file = -1;
  struct stat status;
  if (::fstat(descriptor, &status) != 0) {
    return Adopted::kFailed;
  }
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid() || status.st_nlink > 1 ||
      (status.st_mode & 077) != 0) {
    return Adopted::kUntrusted;
  }
  const Adopted adopted = found->take_over(content);
  if (adopted == Adopted::kTaken) {
    journal = std::move(found);
  }
  return adopted;
}

LogJournal::Adopted LogJournal::take_over(JournalContent& content) {
  switch (lock()) {
    case Locked::kYes:
      break;
    case Locked::kByAnother:
      return Adopted::kLocked;
    case Locked::kGone:  // its owner has come to its end meanwhile
      return Adopted::kNone;
    case Locked::kFailed:
      return Adopted::kFailed;
  }
  switch (read_journal(m_descriptor, content)) {
    case JournalState::kWhole:
      m_begin = content.begin;
      m_end = content.begin + content.records.size();
      return map_header() ? Adopted::kTaken : Adopted::kFailed;
    case JournalState::kUnfinished:
      remove();
      return Adopted::kNone;
    case JournalState::kDamaged:
      return ::rename(m_path.c_str(), (m_path + ".damaged").c_str()) == 0 ? Adopted::kDamaged
                                                                          : Adopted::kFailed;
    case JournalState::kChanging:  // someone else writes into it
      return Adopted::kUntrusted;
    case JournalState::kUnreadable:
      break;
  }
  return Adopted::kFailed;
}

// A process that was killed here may have left a file with the name that ends in ".new".
bool LogJournal::replace(std::unique_ptr<LogJournal>& journal, const std::vector<char>& records) {
  std::string path = journal->m_path;
  const std::string beside = path + ".new";
  ::unlink(beside.c_str());
  std::unique_ptr<LogJournal> made = make(beside, records.size());
  if (!made) {
    return false;
  }
  made->put(records.data(), records.size());
  if (::rename(beside.c_str(), path.c_str()) != 0) {
    const int reason = errno;
    made->remove();
    errno = reason;
    return false;
  }
  made->m_path.swap(path);
  journal.swap(made);
  return true;
}

// --- Records ---

void LogJournal::put(const char* record, std::size_t size) {
  const std::size_t first = std::min(size, m_capacity - m_at);
  std::memcpy(m_ring + m_at, record, first);
  std::memcpy(m_ring, record + first, size - first);
  m_at += size;
  m_at -= m_at >= m_capacity ? m_capacity : 0;
  m_end += size;
  store(m_header->end, m_end);
}

// While the journal is empty, the bytes' places in the ring may change with the capacity.
bool LogJournal::grow(std::size_t size) {
  const std::size_t capacity = whole_pages(size);
  const bool has_grown = capacity >= size && reserve(capacity) && map_ring(capacity);
  m_at = m_end % m_capacity;
  return has_grown;
}

// --- Batches ---

// Stores the flag last: without it, there is no note.
void LogJournal::note(const JournalNote& note) {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  m_header->note = note;
  store(m_header->noted, 1);
}

// Stores the begin first: if the note went first and the process ended, the batch would be written
// again.
void LogJournal::done(std::uint64_t to) {
  m_begin = to;
  store(m_header->begin, to);
  store(m_header->noted, 0);
}

}  // namespace fwbase
