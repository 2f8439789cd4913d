// The writer thread.
#ifndef FWBASE_RUNLOG_LOG_WRITER_H
#define FWBASE_RUNLOG_LOG_WRITER_H

#include <pthread.h>

#include "fwbase/runlog/log_output.h"
#include "fwbase/runlog/log_queue.h"
#include "fwbase/runlog/log_state.h"

namespace fwbase {

/// Takes records from the queue to the output. Not synchronised.
class LogWriter {
 public:
  LogWriter(const PublishedState& state, LogQueue& queue, LogOutput& output)
      : m_state(state), m_queue(queue), m_output(output) {}
  LogWriter(const LogWriter&) = delete;
  LogWriter& operator=(const LogWriter&) = delete;

  /// Starts the thread. False where there can be none.
  bool start();

  /// Writes what is in the queue, which was closed, and ends the thread, if there is one.
  void stop();

  /// In a forked child: the thread is the parent's.
  void after_fork_in_child() { m_runs = false; }

 private:
  void write_queued();

  const PublishedState& m_state;
  LogQueue& m_queue;
  LogOutput& m_output;
  pthread_t m_thread{};
  bool m_runs = false;
};

}  // namespace fwbase

#endif
