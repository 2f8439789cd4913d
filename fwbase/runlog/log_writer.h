// The writer thread, and the standstill in which it ends.
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
  LogWriter(PublishedState& state, LogQueue& queue, LogOutput& output)
      : m_state(state), m_queue(queue), m_output(output) {}
  LogWriter(const LogWriter&) = delete;
  LogWriter& operator=(const LogWriter&) = delete;

  /// While it lives, there is no writer thread, and threads that want to write wait. It begins by
  /// writing what is in the queue, and the records of threads that wait for room in it or for the
  /// output. So no record can slip behind the end, into the next round or past the end of the
  /// process.
  class Standstill;

  /// Starts the thread, in a standstill. False where there can be none.
  bool start();

  /// In a forked child: the thread is the parent's.
  void after_fork_in_child() { m_runs = false; }

 private:
  void stop();
  void write_queued();

  PublishedState& m_state;
  LogQueue& m_queue;
  LogOutput& m_output;
  pthread_t m_thread{};
  bool m_runs = false;
};

class LogWriter::Standstill {
 public:
  explicit Standstill(LogWriter& writer) : m_writer(writer) { m_writer.stop(); }
  ~Standstill() { m_writer.m_state.end_standstill(); }
  Standstill(const Standstill&) = delete;
  Standstill& operator=(const Standstill&) = delete;

 private:
  LogWriter& m_writer;
};

}  // namespace fwbase

#endif
