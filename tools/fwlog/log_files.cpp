// A rotation renames the backups from the oldest on, and FILE last, so each file gets an older
// name. Opening from the newest name on therefore meets every file, and some twice.
#include "log_files.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <system_error>

#include "log_records/record.h"

namespace fwlog {

using log_records::Splitter;

namespace {

typedef std::set<std::uint64_t, std::greater<>> Numbers;

constexpr std::array<std::uint64_t, 4> kUsualBackups = {0, 1, 2, 3};

std::string backup(const std::string& path, std::uint64_t number) {
  return path + ".bak." + std::to_string(number);
}

// FILE and, if it is a link, its target, which has the backups beside it. What is reached through
// /dev or /proc has none.
std::vector<std::string> paths_of(const std::string& path) {
  std::vector<std::string> paths = {path};
  std::error_code error;
  if (!path.starts_with("/dev/") && !path.starts_with("/proc/") &&
      std::filesystem::is_symlink(path, error)) {
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    if (!error) {
      paths.push_back(target.string());
    }
  }
  return paths;
}

// Adds the numbers of the backups in the directory.
void add_numbers(const std::string& path, Numbers& numbers) {
  const std::size_t slash = path.rfind('/');
  const std::string directory = slash == path.npos ? "." : path.substr(0, slash + 1);
  const std::string begin = (slash == path.npos ? path : path.substr(slash + 1)) + ".bak.";
  const std::unique_ptr<DIR, int (*)(DIR*)> opened(opendir(directory.c_str()), closedir);
  while (const dirent* const entry = opened ? readdir(opened.get()) : nullptr) {
    const std::string_view name = entry->d_name;
    if (name.starts_with(begin)) {
      const auto number = log_records::number_of(name.substr(begin.size()));
      if (number && name.substr(begin.size()) == std::to_string(*number)) {
        numbers.insert(*number);
      }
    }
  }
}

// Those that the files of a log have or may have, the oldest first.
std::vector<std::string> names_of(const std::string& path, bool only) {
  std::vector<std::string> names;
  if (!only && path != kStandardInput) {
    const std::vector<std::string> paths = paths_of(path);
    Numbers numbers(kUsualBackups.begin(), kUsualBackups.end());  // may appear meanwhile
    for (const std::string& one : paths) {
      add_numbers(one, numbers);
    }
    for (const std::uint64_t number : numbers) {
      for (auto one = paths.rbegin(); one != paths.rend(); ++one) {
        names.push_back(backup(*one, number));
      }
    }
  }
  names.push_back(path);
  return names;
}

class Opening {
 public:
  Opening(const std::string& path, Splitter::LookAhead look_ahead)
      : m_path(path), m_look_ahead(look_ahead) {}

  // Puts the file before those that are open already, which are newer.
  void open(const std::string& name) {
    std::unique_ptr<LogFile> file = LogFile::open(name, m_look_ahead);
    if (!file) {
      if (errno != ENOENT || name == m_path) {
        m_log.unreadable.push_back({name, errno});
      }
      return;
    }
    const auto is_same = [&](const auto& other) { return other->id() == file->id(); };
    if (std::none_of(m_log.files.begin(), m_log.files.end(), is_same)) {
      m_log.files.insert(m_log.files.begin(), std::move(file));
    }
  }

  LogFiles take() { return std::move(m_log); }

 private:
  const std::string& m_path;
  const Splitter::LookAhead m_look_ahead;
  LogFiles m_log;
};

}  // namespace

LogFiles open_log(const std::string& path, bool only, Splitter::LookAhead look_ahead) {
  const std::vector<std::string> names = names_of(path, only);
  // A rotation removes the oldest backup. Opened before, it can still be read.
  std::unique_ptr<LogFile> oldest;
  if (names.size() > 1) {
    oldest = LogFile::open(names.front(), look_ahead);
  }
  Opening opening(path, look_ahead);
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    opening.open(*name);
  }
  LogFiles log = opening.take();
  const auto is_oldest = [&](const auto& other) { return oldest && other->id() == oldest->id(); };
  if (oldest && std::none_of(log.files.begin(), log.files.end(), is_oldest)) {
    log.files.insert(log.files.begin(), std::move(oldest));
  }
  return log;
}

std::string name_of(const std::string& path, FileId id) {
  const std::vector<std::string> names = names_of(path, false);
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    struct stat status = {};
    if (stat(name->c_str(), &status) == 0 && FileId{status.st_dev, status.st_ino} == id) {
      return *name;
    }
  }
  return "";
}

}  // namespace fwlog
