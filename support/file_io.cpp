// A file is replaced by a complete one beside it; what is no file is written to as it is.
#include "support/file_io.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/magic.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/xattr.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <vector>

#include "support/uninterrupted.h"
#include "support/write_signal_block.h"

namespace support {
namespace {

int open_file(const std::string& path, int flags, mode_t mode = 0) {
  return uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); });
}

bool sync(int fd) {
  return uninterrupted([fd] { return ::fsync(fd); }) == 0;
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : m_fd(fd) {}
  ~Descriptor() {
    if (is_open()) {
      ::close(m_fd);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool is_open() const { return m_fd >= 0; }
  int get() const { return m_fd; }

  // Some file systems report a failed write only here.
  bool close() {
    const int fd = m_fd;
    m_fd = -1;
    return ::close(fd) == 0;
  }

 private:
  int m_fd;
};

bool write_all(int fd, std::string_view text) {
  const WriteSignalBlock no_signals;
  while (!text.empty()) {
    const ssize_t written = uninterrupted([&] { return ::write(fd, text.data(), text.size()); });
    if (written <= 0) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// What a symbolic link holds; empty when path is none. False when that cannot be told.
bool read_link(const std::string& path, std::string& target) {
  char text[PATH_MAX];
  const ssize_t size = ::readlink(path.c_str(), text, sizeof(text));
  target.assign(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  return size >= 0 || errno == EINVAL || errno == ENOENT;
}

constexpr int kMaxLinks = 40;  // as the kernel allows

bool write_stream(const std::string& path, std::string_view text) {
  Descriptor stream(open_file(path, O_WRONLY | O_APPEND | O_NOCTTY));
  return stream.is_open() && write_all(stream.get(), text) && stream.close();
}

constexpr const char* kAccessList = "system.posix_acl_access";

// Lets the new file have the access list of the old one, if that has one: without it, the group's
// permission bits would mean something else.
bool copy_access_list(int from, int to) {
  const ssize_t size = ::fgetxattr(from, kAccessList, nullptr, 0);
  if (size < 0) {
    return errno == ENODATA || errno == ENOTSUP;
  }
  std::vector<char> list(static_cast<std::size_t>(size));
  return ::fgetxattr(from, kAccessList, list.data(), list.size()) == size &&
         ::fsetxattr(to, kAccessList, list.data(), list.size(), 0) == 0;
}

// Gives the new file the owner, group and permissions of the old one. What is not allowed of the
// owner and the group stays, and then the bits that lend their rights go.
bool copy_permissions(int from, int to) {
  struct stat old_status;
  struct stat new_status;
  if (::fstat(from, &old_status) != 0) {
    return false;
  }
  if (::fchown(to, old_status.st_uid, old_status.st_gid) != 0) {
    static_cast<void>(::fchown(to, static_cast<uid_t>(-1), old_status.st_gid) == 0);
  }
  if (::fstat(to, &new_status) != 0 || !copy_access_list(from, to)) {
    return false;
  }
  const mode_t lost = (new_status.st_uid != old_status.st_uid ? S_ISUID : 0U) |
                      (new_status.st_gid != old_status.st_gid ? S_ISGID : 0U);
  return ::fchmod(to, old_status.st_mode & 07777U & ~lost) == 0;
}

constexpr const char* kTemporaryPrefix = ".fwbase-save-";

// A new, empty file with a name of its own, removed again unless it is renamed. It is locked as
// long as this lives, so that others can tell it from one that a killed process has left.
class TemporaryFile {
 public:
  TemporaryFile(const std::string& directory, mode_t mode)
      : m_descriptor(create(directory, mode)),
        m_lock(::fcntl(m_descriptor.get(), F_DUPFD_CLOEXEC, 0)) {}
  ~TemporaryFile() {
    if (!m_path.empty()) {
      ::unlink(m_path.c_str());
    }
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  Descriptor& descriptor() { return m_descriptor; }

  bool rename_to(const std::string& path) {
    if (::rename(m_path.c_str(), path.c_str()) != 0) {
      return false;
    }
    m_path.clear();
    return true;
  }

 private:
  static constexpr int kMaxTries = 1000;

  // Not mkstemp(): the umask is to decide about the permissions.
  int create(const std::string& directory, mode_t mode) {
    static std::atomic<unsigned int> serial{0};
    for (int tries = 0; tries < kMaxTries; ++tries) {
      m_path = directory + "/" + kTemporaryPrefix + std::to_string(::getpid()) + "-" +
               std::to_string(serial.fetch_add(1, std::memory_order_relaxed));
      const int fd = open_file(m_path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
      if (fd >= 0 && lock(fd)) {
        return fd;
      }
      if (fd >= 0) {
        ::close(fd);
      } else if (errno != EEXIST) {
        break;
      }
    }
    m_path.clear();
    return -1;
  }

  // False when someone has taken the file for a leftover before it was locked. Where there are no
  // locks, nobody takes one for a leftover.
  static bool lock(int fd) {
    struct stat status;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
      return errno != EWOULDBLOCK;
    }
    return ::fstat(fd, &status) == 0 && status.st_nlink > 0;
  }

  std::string m_path;
  Descriptor m_descriptor;
  const Descriptor m_lock;  // keeps it when the descriptor is closed
};

// Removes the temporary files of processes that were killed while they saved.
void remove_leftovers(const std::string& directory) {
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(::opendir(directory.c_str()), &::closedir);
  while (const dirent* const entry = listing ? ::readdir(listing.get()) : nullptr) {
    const char* const name = entry->d_name;
    if (!std::string_view(name).starts_with(kTemporaryPrefix)) {
      continue;
    }
    const int at = ::dirfd(listing.get());
    const Descriptor file(::openat(at, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (file.is_open() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
      ::unlinkat(at, name, 0);
    }
  }
}

bool sync_directory(const Descriptor& directory) {
  // A directory that may not be read cannot be opened for this, and some file systems have
  // nothing to do.
  return !directory.is_open() || sync(directory.get()) || errno == EINVAL;
}

bool replace_file(const std::string& path, std::string_view text) {
  // A file that may not be written to is not replaced either.
  const Descriptor old_file(open_file(path, O_WRONLY | O_NONBLOCK | O_NOCTTY));
  if (!old_file.is_open() && errno != ENOENT) {
    return false;
  }

  const std::string directory_name = directory_of(path);
  const Descriptor directory(open_file(directory_name, O_RDONLY | O_DIRECTORY));
  TemporaryFile new_file(directory_name, old_file.is_open() ? 0600 : 0666);
  Descriptor& descriptor = new_file.descriptor();
  const bool replaced =
      descriptor.is_open() &&
      (!old_file.is_open() || copy_permissions(old_file.get(), descriptor.get())) &&
      write_all(descriptor.get(), text) && sync(descriptor.get()) && descriptor.close() &&
      new_file.rename_to(path) && sync_directory(directory);
  if (replaced) {
    remove_leftovers(directory_name);
  }
  return replaced;
}

bool names_a_file(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

}  // namespace

std::string directory_of(const std::string& path) {
  const std::string directory = std::filesystem::path(path).parent_path();
  return directory.empty() ? "." : directory;
}

Target find_target(std::string& path) {
  struct stat status;
  const bool exists = ::stat(path.c_str(), &status) == 0;
  if (exists ? S_ISDIR(status.st_mode) : errno != ENOENT) {
    return Target::kNone;
  }
  if (exists && !S_ISREG(status.st_mode)) {
    return Target::kStream;
  }
  for (int links = 0; links < kMaxLinks; ++links) {
    std::string target;
    if (!read_link(path, target)) {
      return Target::kNone;
    }
    if (target.empty()) {
      return Target::kFile;
    }
    // A link in /proc stands for an open file, whose name may be another file's by now.
    struct statfs file_system;
    if (::statfs(directory_of(path).c_str(), &file_system) != 0) {
      return Target::kNone;
    }
    if (file_system.f_type == PROC_SUPER_MAGIC) {
      return exists ? Target::kStream : Target::kNone;
    }
    path = target.front() == '/' ? target : directory_of(path) + "/" + target;
  }
  return Target::kNone;
}

ReadResult read_file(const std::string& path, std::size_t max_size, std::string& text) {
  if (!names_a_file(path)) {
    return ReadResult::kNoFile;
  }
  // Without O_NONBLOCK, opening a pipe would wait for a writer.
  const Descriptor file(open_file(path, O_RDONLY | O_NONBLOCK | O_NOCTTY));
  struct stat status;
  if (!file.is_open() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return ReadResult::kNoFile;
  }
  const auto expected = static_cast<std::size_t>(status.st_size);
  if (expected > max_size) {
    return ReadResult::kTooLarge;
  }
  text.clear();
  text.reserve(expected);
  static constexpr std::size_t kBlock = std::size_t{64} * 1024;
  const std::unique_ptr<char[]> block(new char[kBlock]);
  for (;;) {
    const ssize_t size = uninterrupted([&] { return ::read(file.get(), block.get(), kBlock); });
    if (size < 0) {
      return ReadResult::kNoFile;
    }
    if (size == 0) {
      return ReadResult::kOk;
    }
    if (static_cast<std::size_t>(size) > max_size - text.size()) {
      return ReadResult::kTooLarge;
    }
    text.append(block.get(), static_cast<std::size_t>(size));
  }
}

bool write_file(const std::string& path, std::string_view text) {
  std::string real_path = path;
  const Target target = names_a_file(path) ? find_target(real_path) : Target::kNone;
  return target == Target::kFile ? replace_file(real_path, text)
                                 : target == Target::kStream && write_stream(path, text);
}

}  // namespace support
