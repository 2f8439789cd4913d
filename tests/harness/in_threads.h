// Runs a function in several threads that start together.
#ifndef FWBASE_TESTS_HARNESS_IN_THREADS_H
#define FWBASE_TESTS_HARNESS_IN_THREADS_H

#include <latch>
#include <thread>
#include <vector>

namespace fwbase::test {

/// Calls run(0), run(1), ... run(count - 1), each in a thread of its own, and waits for all.
template <typename Run>
void in_threads(int count, Run run) {
  std::latch start(count);
  std::vector<std::jthread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      run(i);
    });
  }
}

}  // namespace fwbase::test

#endif
