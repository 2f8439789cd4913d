// Where records go: nowhere, to standard output, or into a file, which is rotated.
#ifndef FWBASE_RUNLOG_LOG_OUTPUT_H
#define FWBASE_RUNLOG_LOG_OUTPUT_H

#include <ctime>
#include <memory>
#include <string_view>

#include <fwbase/ec.h>

#include "fwbase/runlog/log_file.h"
#include "fwbase/runlog/log_record.h"
#include "fwbase/runlog/log_rotation.h"
#include "fwbase/runlog/log_state.h"
#include "fwbase/support/rw_lock.h"

namespace fwbase {

/// Any thread. The lock is taken for writing by all operations: records never interleave, and no
/// rotation meets a record. The state says whether there is an output.
class LogOutput {
 public:
  explicit LogOutput(PublishedState& state) : m_state(state) {}
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;

  /// As IRunLog::file().
  ec::EC open(const char* path);

  /// Closes the file. Standard output is the output then, if a file was ever open.
  void restart();

  /// Writes a last record and closes the file, in one step. Standard output stays.
  void close(const LogRecord& last);

  void write(const LogRecord& record);
  void write(const RecordTexts& texts);

  /// Around fork(), in the thread that forks.
  void before_fork(const timespec& deadline) { m_lock.before_fork(deadline); }
  void after_fork_in_parent() { m_lock.after_fork_in_parent(); }
  void after_fork_in_child() FWBASE_NO_THREAD_SAFETY_ANALYSIS;

 private:
  void put(const RecordTexts& texts) FWBASE_REQUIRES(m_lock);
  void put_into_file(const RecordTexts& texts) FWBASE_REQUIRES(m_lock);
  bool rotate() FWBASE_REQUIRES(m_lock);
  void report_failed_rotation(std::string_view message, std::string_view reason = {})
      FWBASE_REQUIRES(m_lock);

  /// To be called by whoever has changed the output.
  void publish() FWBASE_REQUIRES(m_lock);

  PublishedState& m_state;
  support::RwLock m_lock;
  bool m_standard_output FWBASE_GUARDED_BY(m_lock) = false;
  std::unique_ptr<LogFile> m_file FWBASE_GUARDED_BY(m_lock);
  LogRotation m_rotation FWBASE_GUARDED_BY(m_lock);
  bool m_failure_reported FWBASE_GUARDED_BY(m_lock) = false;  // of the rotation
};

}  // namespace fwbase

#endif
