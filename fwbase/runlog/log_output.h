// The output of the log: none, standard output, or a file, which is rotated.
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

/// Any thread may use it. All operations take the lock for writing: records never interleave, and
/// no record is written during a rotation. The state says whether there is an output.
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

  /// Opens a file. Does not take the lock, since opening a FIFO waits for a reader.
  static ec::EC open(const char* path, Opened& opened);

  /// Makes the opened file the output. On failure the old output stays. Writes the records of a
  /// journal beside the file first.
  ec::EC install(Opened& opened);

  /// Closes the file. If a file was ever open, standard output becomes the output.
  void restart();

  /// Writes a last record and closes the file, in one step. Standard output stays.
  void close(const LogRecord& last);

  /// Sets when the file is rotated, from now on. With LOG_NO_MEMORY nothing has changed.
  ec::EC limit(const RotationLimits& limits);

  /// Makes a journal for the queue, beside the open log file. Adopts an existing journal first. On
  /// failure returns null, and a record says why; null without a record when no file is open.
  std::unique_ptr<LogJournal> make_journal(std::size_t capacity);

  /// The journal of queued records.
  struct Journaled {
    LogJournal& journal;  ///< marks of texts are its numbers behind the records
    JournalTimes times;
  };

  void write(const LogRecord& record);

  /// Notes each batch in the journal, if there is one, and then removes all the records from it.
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

  /// To be called after each change of the output.
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
