// The progress of a long run, in a line on the terminal.
#ifndef FWRUN_PROGRESS_H
#define FWRUN_PROGRESS_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "call_watch.h"
#include "script_file.h"

namespace fwrun {

/// Shows the line from two seconds after `begin` until its destruction, if standard error is a
/// terminal.
class Progress {
 public:
  Progress(const Section& section, const CallWatch& watch,
           std::chrono::steady_clock::time_point begin);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void show();

  const Section& m_section;
  const CallWatch& m_watch;
  const std::chrono::steady_clock::time_point m_begin;
  std::mutex m_mutex;
  std::condition_variable m_wakes;
  bool m_ends = false;  // guarded by the mutex
  std::thread m_thread;
};

}  // namespace fwrun

#endif
