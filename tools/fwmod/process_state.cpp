// Read from the system's view of the process.
#include "process_state.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

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
  bool is_busy() const { return state == 'R'; }
};

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

// Calls visit(number, path) for each entry that is named by a number.
template <typename Visit>
void visit_numbers(const char* directory, Visit visit) {
  std::error_code ignored;
  for (fs::directory_iterator entry(directory, ignored), end; entry != end;
       entry.increment(ignored)) {
    visit(std::atoi(entry->path().filename().c_str()), entry->path());
  }
}

// For what is about to end or to block, of which the system does not tell. False at the deadline.
bool pause_until(Clock::time_point deadline) {
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return Clock::now() < deadline;
}

bool any_busy(const std::map<int, std::string>& known) {
  bool busy = false;
  visit_numbers("/proc/self/task", [&](int number, const fs::path& path) {
    busy = busy || (!known.contains(number) && task_of(path).is_busy());
  });
  return busy;
}

}  // namespace

std::map<int, std::string> running_threads() {
  std::map<int, std::string> threads;
  visit_numbers("/proc/self/task", [&](int number, const fs::path& path) {
    const Task thread = task_of(path);
    if (!thread.is_gone()) {
      threads.emplace(number, thread.name);
    }
  });
  return threads;
}

std::map<int, std::string> open_descriptors() {
  std::map<int, std::string> descriptors;
  visit_numbers("/proc/self/fd", [&](int number, const fs::path& path) {
    std::error_code error;
    const fs::path target = fs::read_symlink(path, error);
    // The one that lists the directory is closed by the end of the listing.
    const std::string own = "/proc/" + std::to_string(getpid()) + "/fd";
    if (!error && target != own) {
      descriptors.emplace(number, target.string());
    }
  });
  return descriptors;
}

bool has_child_process() {
  siginfo_t info;
  return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::vector<int> children_of(int process) {
  std::vector<int> children;
  visit_numbers("/proc", [&](int number, const fs::path& path) {
    if (number > 0 && task_of(path).parent == process) {
      children.push_back(number);
    }
  });
  return children;
}

std::vector<std::string> running_orphans() {
  const auto deadline = Clock::now() + kPatience;
  std::vector<std::string> names;
  do {
    names.clear();
    for (const int sibling : children_of(getppid())) {
      const Task process = task_of("/proc/" + std::to_string(sibling));
      if (sibling != getpid() && !process.is_gone()) {
        names.push_back(process.name);
      }
    }
  } while (!names.empty() && pause_until(deadline));
  return names;
}

void wait_for_quiet_threads(const std::map<int, std::string>& known) {
  constexpr int kQuietReadings = 3;  // a thread may be seen between two waits
  const auto deadline = Clock::now() + kPatience;
  const auto all_known = [&] {
    const std::map<int, std::string> threads = running_threads();
    return std::all_of(threads.begin(), threads.end(),
                       [&](const auto& thread) { return known.contains(thread.first); });
  };
  for (int quiet = 0; quiet < kQuietReadings && !all_known();) {
    quiet = any_busy(known) ? 0 : quiet + 1;
    if (!pause_until(deadline)) {
      return;
    }
  }
}

}  // namespace fwmod
