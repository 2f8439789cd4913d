// The progress of a long run, in a line on the terminal.
#ifndef FWRUN_PROGRESS_H
#define FWRUN_PROGRESS_H

#include <chrono>
#include <condition_variable>
#include <thread>

#include "call_watch.h"
#include "script_file.h"
#include "support/mutex.h"

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
  bool ends_before(std::chrono::steady_clock::time_point time, support::MutexGuard& lock)
      FWBASE_REQUIRES(m_mutex);

  const Section& m_section;
  const CallWatch& m_watch;
  const std::chrono::steady_clock::time_point m_begin;
  support::Mutex m_mutex;
  std::condition_variable m_wakes;
  bool m_ends FWBASE_GUARDED_BY(m_mutex) = false;
  std::thread m_thread;
};

}  // namespace fwrun

#endif
