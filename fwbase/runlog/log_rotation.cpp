// The log file under its name, and its backups.
#include "fwbase/runlog/log_rotation.h"

#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "support/file_io.h"

namespace fwbase {

namespace {

// Names in these directories stand for devices and for files that are open elsewhere.
bool leads_through_system(std::string_view path) {
  return (path.starts_with("/dev/") && !path.starts_with("/dev/shm/")) ||
         path.starts_with("/proc/");
}

// From the root on, without symbolic links before the last component. A name whose directory cannot
// be told stays as it is.
std::string absolute_name(const std::string& path) {
  char directory[PATH_MAX];
  if (::realpath(support::directory_of(path).c_str(), directory) == nullptr) {
    return path;
  }
  const std::string_view parent = directory;
  return std::string(parent == "/" ? "" : parent) + "/" + path.substr(path.rfind('/') + 1);
}

std::vector<std::string> names_of(const std::string& file, int backups) {
  std::vector<std::string> names{file + ".bak.~"};
  for (int number = backups; number > 0; --number) {
    names.push_back(file + ".bak." + std::to_string(number - 1));
  }
  names.push_back(file);
  return names;
}

bool is_same(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// Replaces nothing: another process may have taken the name. Some file systems cannot promise that.
bool rename_if_free(const std::string& from, const std::string& to) {
  return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0 ||
         ((errno == EINVAL || errno == ENOSYS) && ::rename(from.c_str(), to.c_str()) == 0);
}

}  // namespace

bool rotation_due(std::int64_t position, std::uint64_t file_bytes) {
  if (file_bytes > UINT32_MAX) {
    return position >= 0 && static_cast<std::uint64_t>(position) >= file_bytes;
  }
  // 32 bits count: a log of 4 GiB that was there before is appended to, not rotated at once.
  return position >= 0 && static_cast<std::uint32_t>(position) >= file_bytes;
}

// --- The names ---

LogRotation::LogRotation(const char* path, const RotationLimits& limits)
    : m_file_bytes(limits.file_bytes) {
  std::string name = path;
  if (!leads_through_system(name) && support::find_target(name) == support::Target::kFile) {
    name = absolute_name(name);
    m_rotates = !leads_through_system(name);
  } else {
    name = path;
  }
  m_directory = support::directory_of(name);
  m_journal = name + ".journal";
  m_names = names_of(name, limits.backups);
}

void LogRotation::limit(const RotationLimits& limits) {
  if (has_name()) {
    m_names = names_of(m_names.back(), limits.backups);
  }
  m_file_bytes = limits.file_bytes;
}

bool LogRotation::names(const LogFile& file) const {
  struct stat own;
  struct stat named;
  return !m_rotates || (file.status(own) && ::lstat(path(), &named) == 0 && is_same(own, named));
}

bool LogRotation::has_directory() const {
  struct stat directory;
  return ::stat(m_directory.c_str(), &directory) == 0 ? S_ISDIR(directory.st_mode)
                                                      : errno != ENOENT && errno != ENOTDIR;
}

bool LogRotation::is_backup(const struct stat& file) const {
  return std::any_of(m_names.begin() + 1, m_names.end() - 1, [&](const std::string& backup) {
    struct stat named;
    return ::lstat(backup.c_str(), &named) == 0 && is_same(file, named);
  });
}

// --- When ---

bool LogRotation::due(std::int64_t position) const {
  const bool failed = m_failed_at >= 0 && position >= m_failed_at;
  return m_rotates && rotation_due(position, m_file_bytes) &&
         (!failed || position >= m_failed_at + kRotationRetry);
}

std::size_t LogRotation::records_until_due(const RecordTexts& texts, std::size_t first,
                                           std::int64_t position) const {
  const auto begin = static_cast<std::int64_t>(texts.begin_of(first));
  std::size_t last = first;
  while (position >= 0 && last + 1 < texts.count() &&
         !due(position - begin + static_cast<std::int64_t>(texts.end_of(last)))) {
    ++last;
  }
  return last - first + 1;
}

// --- Rotation ---

LogRotation::Result LogRotation::rotate(LogFile& file) {
  file.lock();
  const Result result = change(file);
  const int reason = errno;
  const bool done = result == Result::kDone || result == Result::kDoneTooLate;
  m_failed_at = done ? -1 : file.counted_position();
  file.unlock();
  errno = reason;
  return result;
}

// Where several processes write to one file, as after a fork, one rotates and the others go on in
// the file that it has begun: with a rotation of each the backups would soon hold a few records,
// and all the rest would be lost. A file without a name has been removed, by hand or as the oldest
// backup: records that go on into it are lost, so the file of the name is taken whosever it is.
LogRotation::Result LogRotation::change(LogFile& file) const {
  struct stat own;
  struct stat named;
  if (!file.status(own)) {
    return Result::kFailed;
  }
  const bool is_taken = ::lstat(path(), &named) == 0;
  if (is_taken) {
    const bool is_regular = S_ISREG(named.st_mode);
    if (is_regular && is_same(own, named)) {
      return rename_and_open(file);
    }
    if (own.st_nlink != 0 && !(is_regular && is_backup(own))) {
      return Result::kForeign;
    }
  } else if (errno != ENOENT && errno != ENOTDIR) {
    return Result::kFailed;
  } else if (!has_directory()) {
    return Result::kNoDirectory;
  }
  if (!file.open_regular(path())) {
    return Result::kFailed;
  }
  return is_taken && own.st_nlink == 0 ? Result::kDoneTooLate : Result::kDone;
}

LogRotation::Result LogRotation::rename_and_open(LogFile& file) const {
  std::size_t renamed = 0;
  if (rename_all(renamed) && file.open_regular(path())) {
    ::unlink(m_names.front().c_str());
    return Result::kDone;
  }
  const int reason = errno;
  rename_back(renamed);
  errno = reason;
  return Result::kFailed;
}

bool LogRotation::rename_all(std::size_t& renamed) const {
  for (; renamed + 1 < m_names.size(); ++renamed) {
    const bool is_backup = renamed + 2 < m_names.size();
    if (::rename(m_names[renamed + 1].c_str(), m_names[renamed].c_str()) != 0 &&
        !(is_backup && errno == ENOENT)) {
      return false;
    }
  }
  return true;
}

// Ends where another process has begun a file of the name meanwhile: the rotation is done then.
void LogRotation::rename_back(std::size_t renamed) const {
  bool free = true;
  for (; renamed > 0 && free; --renamed) {
    free = rename_if_free(m_names[renamed - 1], m_names[renamed]) || errno == ENOENT;
  }
}

}  // namespace fwbase
