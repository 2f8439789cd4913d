// Reads all of it from /proc.
#include "process_state.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <utility>

namespace fwmod {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(1);

// A thread, or a process as its first thread.
struct Task {
  std::string name;
  char state;
  int parent;  // process

  bool is_gone() const { return state == 'Z' || state == 'X' || state == '\0'; }
};

// The entries of a directory whose names are numbers. The descriptor that lists them is among them,
// but is closed by the time that the caller looks.
std::vector<std::pair<int, fs::path>> numbered_entries(const char* directory) {
  std::vector<std::pair<int, fs::path>> entries;
  std::error_code ignored;
  for (fs::directory_iterator entry(directory, ignored), end; entry != end;
       entry.increment(ignored)) {
    entries.emplace_back(std::atoi(entry->path().filename().c_str()), entry->path());
  }
  return entries;
}

// The line is "4711 (name) S 4710 ...", where the name may hold anything.
Task task_of(const fs::path& directory) {
  char bytes[512];  // the name has at most 15 of them
  std::ifstream file(directory / "stat");
  file.read(bytes, sizeof bytes);
  const std::string line(bytes, static_cast<std::size_t>(file.gcount()));
  const std::size_t begin = line.find('(');
  const std::size_t end = line.rfind(") ");
  if (begin == line.npos || end == line.npos || end + 2 >= line.size()) {
    return {"", '\0', 0};  // gone meanwhile
  }
  return {line.substr(begin + 1, end - begin - 1), line[end + 2],
          std::atoi(line.c_str() + end + 3)};
}

std::map<int, Task> tasks_in(const char* directory) {
  std::map<int, Task> tasks;
  for (const auto& [number, path] : numbered_entries(directory)) {
    tasks.emplace(number, task_of(path));
  }
  return tasks;
}

// For changes that the system does not announce. False at the deadline.
bool pause_until(Clock::time_point deadline) {
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return Clock::now() < deadline;
}

}  // namespace

std::map<int, std::string> running_threads() {
  std::map<int, std::string> threads;
  for (const auto& [number, thread] : tasks_in("/proc/self/task")) {
    if (!thread.is_gone()) {
      threads.emplace(number, thread.name);
    }
  }
  return threads;
}

std::map<int, std::string> open_descriptors() {
  std::map<int, std::string> descriptors;
  for (const auto& [number, path] : numbered_entries("/proc/self/fd")) {
    std::error_code error;
    const fs::path target = fs::read_symlink(path, error);
    if (!error) {
      descriptors.emplace(number, target.string());
    }
  }
  return descriptors;
}

bool has_child_process() {
  siginfo_t info;
  return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::vector<int> children_of(int process) {
  std::vector<int> children;
  for (const auto& [number, task] : tasks_in("/proc")) {
    if (number > 0 && task.parent == process) {
      children.push_back(number);
    }
  }
  return children;
}

std::vector<std::string> running_orphans() {
  const auto deadline = Clock::now() + kPatience;
  std::vector<std::string> names;
  do {
    names.clear();
    for (const auto& [number, process] : tasks_in("/proc")) {
      if (process.parent == getppid() && number != getpid() && !process.is_gone()) {
        names.push_back(process.name);
      }
    }
  } while (!names.empty() && pause_until(deadline));
  return names;
}

void wait_for_quiet_threads(const std::map<int, std::string>& known) {
  constexpr int kQuietReadings = 3;  // one reading may see a thread between two waits
  const auto deadline = Clock::now() + kPatience;
  int quiet = 0;
  bool any_unknown = false;
  do {
    bool any_busy = false;
    any_unknown = false;
    for (const auto& [number, thread] : tasks_in("/proc/self/task")) {
      const bool is_unknown = !known.contains(number) && !thread.is_gone();
      any_unknown = any_unknown || is_unknown;
      any_busy = any_busy || (is_unknown && thread.state == 'R');
    }
    quiet = any_busy ? 0 : quiet + 1;
  } while (any_unknown && quiet < kQuietReadings && pause_until(deadline));
}

}  // namespace fwmod
