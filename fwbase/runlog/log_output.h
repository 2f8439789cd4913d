// Where records go: nowhere, to standard output, or into a file, which is rotated.
#ifndef FWBASE_RUNLOG_LOG_OUTPUT_H
#define FWBASE_RUNLOG_LOG_OUTPUT_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <fwbase/ec.h>

#include "fwbase/runlog/log_file.h"
#include "fwbase/runlog/log_journal.h"
#include "fwbase/runlog/log_record.h"
#include "fwbase/runlog/log_rotation.h"
#include "fwbase/runlog/log_state.h"
#include "fwbase/runlog/runlog.h"
#include "support/rw_lock.h"

namespace fwbase {

/// Any thread. The lock is taken for writing by all operations: records never interleave, and no
/// rotation meets a record. The state says whether there is an output.
class LogOutput {
 public:
  explicit LogOutput(PublishedState& state) : m_state(state) {}
  LogOutput(const LogOutput&) = delete;
  LogOutput& operator=(const LogOutput&) = delete;

  /// A file that is to become the output.
  struct Opened {
    std::unique_ptr<LogFile> file;
    LogRotation rotation;
  };

  /// Opens a file, without the lock: that may take as long as a FIFO has no reader.
  static ec::EC open(const char* path, Opened& opened);

  /// Makes it the output, in place of that of before; on failure that stays. What a journal beside
  /// it holds is written first.
  ec::EC install(Opened& opened);

  /// Closes the file. Standard output is the output then, if a file was ever open.
  void restart();

  /// Writes a last record and closes the file, in one step. Standard output stays.
  void close(const LogRecord& last);

  /// When the file is rotated, from now on. LOG_NO_MEMORY changes nothing.
  ec::EC limit(const RotationLimits& limits);

  /// A journal of the log that is open, for its queue; what was there is adopted first. Null where
  /// there can be none: a record says why.
  std::unique_ptr<LogJournal> make_journal(std::size_t capacity);

  /// Where queued records come from.
  struct Journaled {
    LogJournal& journal;  ///< marks of texts are its numbers behind the records
    JournalTimes times;
  };

  void write(const LogRecord& record);

  /// The journal, if there is one, gets a note of each batch, and all of the records as done.
  void write(const RecordTexts& texts, const Journaled* journaled = nullptr);

 private:
  void put(const RecordTexts& texts, const Journaled* journaled) FWBASE_REQUIRES(m_lock);
  LogFile::Appended put_next(const RecordTexts& texts, std::size_t next, const Journaled* journaled)
      FWBASE_REQUIRES(m_lock);
  void put_into_file(const RecordTexts& texts, const Journaled* journaled) FWBASE_REQUIRES(m_lock);
  bool put_whole(const RecordTexts& texts, const Journaled& journaled) FWBASE_REQUIRES(m_lock);
  void note(const RecordTexts& texts, std::size_t first, std::size_t count,
            const Journaled& journaled) FWBASE_REQUIRES(m_lock);

  LogJournal::Adopted adopt_journal() FWBASE_REQUIRES(m_lock);
  bool recover(std::unique_ptr<LogJournal>& journal, JournalContent& content)
      FWBASE_REQUIRES(m_lock);
  bool complete_noted_batch(std::unique_ptr<LogJournal>& journal, JournalContent& content)
      FWBASE_REQUIRES(m_lock);
  bool complete_file(const std::string& name, std::string_view rest) FWBASE_REQUIRES(m_lock);
  bool report(std::string_view message, std::string_view reason, LocationText& location)
      FWBASE_REQUIRES(m_lock);
  void report_journal(std::string_view message, std::string_view reason = {})
      FWBASE_REQUIRES(m_lock);
  bool rotate() FWBASE_REQUIRES(m_lock);
  void report_failed_rotation(std::string_view message, std::string_view reason = {})
      FWBASE_REQUIRES(m_lock);

  /// To be called by whoever has changed the output.
  void publish() FWBASE_REQUIRES(m_lock);

  void in_child() FWBASE_NO_THREAD_SAFETY_ANALYSIS;

  PublishedState& m_state;
  support::RwLock m_lock{support::LockRank::kLogOutput, [this](bool) { in_child(); }};
  bool m_standard_output FWBASE_GUARDED_BY(m_lock) = false;
  std::unique_ptr<LogFile> m_file FWBASE_GUARDED_BY(m_lock);
  LogRotation m_rotation FWBASE_GUARDED_BY(m_lock);
  RotationLimits m_limits FWBASE_GUARDED_BY(m_lock);
  bool m_failure_reported FWBASE_GUARDED_BY(m_lock) = false;  // of the rotation
};

}  // namespace fwbase

#endif
