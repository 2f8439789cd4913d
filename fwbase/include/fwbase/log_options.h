// How the run log keeps its records: the queue, the journal, the size and number of its files.
#ifndef FWBASE_LOG_OPTIONS_H
#define FWBASE_LOG_OPTIONS_H

#include <cstddef>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// The defaults are what the log does without log_options().
struct LogOptions {
  /// In queued mode, the queue is full when it holds so many bytes or more. A record takes 22 bytes
  /// beside its message and its location.
  std::size_t queue_bytes = 16384;

  /// What write() does while the queue is full.
  enum WhenFull {
    kWait,      ///< waits for room
    kDropNew,   ///< drops its record
    kDropBelow  ///< drops its record unless the level is in keep_level, and waits then
  };
  WhenFull when_full = kWait;

  /// For kDropBelow: IRunLog::Type bits of the levels that are never dropped.
  unsigned int keep_level = 0;

  /// In queued mode, a copy of the queue is kept in a file beside the log, <file>.journal: records
  /// whose write() has returned are not lost when the process is killed. The next file() of that
  /// log, whatever its options, writes what is left, once, in order, before anything new. A damaged
  /// one is renamed to <file>.journal.damaged. Where another process has a journal for that log, as
  /// the parent of a forked child, and where none can be made, a record says so and there is none.
  /// See docs/log_journal.md.
  bool journal = false;

  /// A log file that reaches so many bytes with a record becomes a backup.
  std::size_t file_bytes = 10485760;

  /// How many backups are kept: <file>.bak.0, the newest, and so on. With 0 a file that has its
  /// size is begun anew, and its records are lost. Backups beyond that number stay as they are.
  int backups = 4;
};

/// Sets the options of the facade's built-in log, all of them, from now on.
///
/// A host calls this before asynch(true), as a rule before file(). What it sets stays until it is
/// called again: over IRunLog::init() and release(), and in a child made with fork().
///
/// Dropped records are counted, and one record at ERROR, whatever levels are enabled, says how many
/// and why as soon as there is room. Those that are dropped for want of memory, and those that the
/// disk has no room for, are not counted (see IRunLog).
///
/// Returns
///   LOG_OK         the size and the number of backups count for the file that is open, too
///   LOG_BAD_PARAM  queue_bytes or file_bytes is 0, backups is negative, when_full is none of its
///                  values, or queued mode is on, asynch(true); nothing changed
///   LOG_NO_MEMORY  nothing changed
///
/// Any thread. Waits for init() and release() of the log, and takes its lock for writing.
FWBASE_NODISCARD FWBASE_API ec::EC log_options(const LogOptions& options);

}  // namespace fwbase

#endif
