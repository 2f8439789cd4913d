// A thread of which the test knows when it waits.
#ifndef FWBASE_TESTS_HARNESS_WATCHED_THREAD_H
#define FWBASE_TESTS_HARNESS_WATCHED_THREAD_H

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

namespace fwbase::test {

/// Runs `work`, which waits for nothing but what the test holds back. Joined at its end.
class WatchedThread {
 public:
  template <typename Work>
  explicit WatchedThread(Work work)
      : m_thread([this, does = std::move(work)] {
          m_id = ::gettid();
          does();
        }) {}
  ~WatchedThread() { m_thread.join(); }
  WatchedThread(const WatchedThread&) = delete;
  WatchedThread& operator=(const WatchedThread&) = delete;

  /// Returns when the thread has begun its work and sleeps in it.
  void wait_until_it_waits() const {
    while (m_id == 0 || state() != 'S') {
      std::this_thread::yield();
    }
  }

  void cancel() { ::pthread_cancel(m_thread.native_handle()); }

 private:
  // The letter behind the name, as in "4711 (name) S".
  char state() const {
    std::string line;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(m_id) + "/stat"), line);
    const std::size_t end_of_name = line.rfind(')');
    return end_of_name + 2 < line.size() ? line[end_of_name + 2] : '\0';
  }

  std::atomic<pid_t> m_id{0};
  std::thread m_thread;
};

}  // namespace fwbase::test

#endif
