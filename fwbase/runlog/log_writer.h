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

  /// Starts the thread. False where there can be none.
  bool start();

  /// Writes what is in the queue, which was closed, and ends the thread, if there is one.
  void stop();

  bool runs() const { return m_runs; }

  /// While it does not run: the journal that the queue has from now on, or null.
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
  std::uint64_t m_taken = 0;  // behind the last record from the queue, as the journal counts
  pthread_t m_thread{};
  bool m_runs = false;
};

}  // namespace fwbase

#endif
