// Watches directories, since a file may be replaced by another one, by inotify where it exists.
#include "command_line/file_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>

namespace tools {

using std::chrono::milliseconds;

namespace {

constexpr milliseconds kLongest(250);

std::string directory_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == path.npos ? "." : path.substr(0, slash + 1);
}

}  // namespace

FileWatch::FileWatch(const std::vector<std::string>& paths)
    : m_changes(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  for (const std::string& path : paths) {
    m_directories[directory_of(path)] = false;
  }
  watch_directories();
}

// A directory may come later.
void FileWatch::watch_directories() {
  for (auto& [directory, is_watched] : m_directories) {
    if (!is_watched && m_changes.number() >= 0) {
      is_watched = inotify_add_watch(m_changes.number(), directory.c_str(),
                                     IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_ONLYDIR) >= 0;
    }
  }
}

void FileWatch::forget_changes() {
  char changes[4096];
  while (m_changes.number() >= 0 && read(m_changes.number(), changes, sizeof changes) > 0) {
  }
}

bool FileWatch::wait(milliseconds longest) {
  watch_directories();
  pollfd waited[] = {{STDOUT_FILENO, 0, 0}, {m_changes.number(), POLLIN, 0}};
  poll(waited, 2, static_cast<int>(std::clamp(longest, milliseconds(0), kLongest).count()));
  forget_changes();
  return (waited[0].revents & (POLLERR | POLLHUP)) == 0;
}

void FileWatch::pause(milliseconds time) {
  const timespec span{0, std::chrono::nanoseconds(time).count()};
  nanosleep(&span, nullptr);
}

}  // namespace tools
