// The writer thread.
#ifndef FWBASE_RUNLOG_LOG_WRITER_H
#define FWBASE_RUNLOG_LOG_WRITER_H

#include <pthread.h>

#include <cstdint>
#include <vector>

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

  /// Starts the thread. False when it cannot be started.
  bool start();

  /// Writes the records in the queue, which must be closed, and ends the thread, if there is one.
  void stop();

  bool runs() const { return m_runs; }

  /// Sets the journal of the queue, or null. Only while the writer does not run.
  void journal(LogJournal* journal) { m_journal = journal; }

 private:
  void write_queued();
  void write_packed(const std::vector<char>& packed, RecordTexts& texts);
  void write(RecordTexts& texts, bool with_time);
  void report_dropped(const LogQueue::Dropped& dropped);
  void report_dropped(const char* reason, std::uint64_t count);

  const PublishedState& m_state;
  LogQueue& m_queue;
  LogOutput& m_output;
  LogJournal* m_journal = nullptr;
  std::uint64_t m_taken = 0;  // the journal's number behind the last record taken
  pthread_t m_thread{};
  bool m_runs = false;
};

}  // namespace fwbase

#endif
