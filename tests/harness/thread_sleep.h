// Waiting until another thread waits itself.
#ifndef FWBASE_TESTS_HARNESS_THREAD_SLEEP_H
#define FWBASE_TESTS_HARNESS_THREAD_SLEEP_H

#include <sys/syscall.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace fwbase::test {

/// The system call in which a thread of this process is blocked: its number and its arguments, or
/// another word while it runs.
inline std::vector<std::string> blocking_call(int thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/syscall");
  const std::vector<std::string> words{std::istream_iterator<std::string>(file), {}};
  if (words.empty()) throw std::runtime_error("cannot tell what a thread waits for");
  return words;
}

/// Returns when the thread waits for a condition or a mutex, however long that takes: a wait that
/// ends after some time of its own is none.
inline void wait_until_asleep(int thread) {
  constexpr std::size_t kTimeLimit = 4;
  for (std::vector<std::string> call; call.size() <= kTimeLimit ||
                                      call[0] != std::to_string(SYS_futex) ||
                                      call[kTimeLimit] != "0x0";) {
    call = blocking_call(thread);
  }
}

/// All threads of this process.
inline std::set<int> threads() {
  std::set<int> all;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    all.insert(std::atoi(entry.path().filename().c_str()));
  }
  return all;
}

}  // namespace fwbase::test

#endif
