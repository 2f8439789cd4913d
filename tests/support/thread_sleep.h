// Waiting until another thread waits itself.
#ifndef FWBASE_TESTS_SUPPORT_THREAD_SLEEP_H
#define FWBASE_TESTS_SUPPORT_THREAD_SLEEP_H

#include <sys/syscall.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

namespace fwbase::test {

/// Whether a thread of this process waits for a condition or a mutex, however long that takes: a
/// wait that ends after some time of its own is none.
inline bool sleeps(int thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/syscall");
  // The number of the call, then its arguments: address, operation, value, time limit.
  std::string word[5];
  for (std::string& one : word) file >> one;
  if (word[0].empty()) throw std::runtime_error("cannot tell what a thread waits for");
  return word[0] == std::to_string(SYS_futex) && word[4] == "0x0";
}

inline void wait_until_asleep(int thread) {
  while (!sleeps(thread)) std::this_thread::yield();
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
