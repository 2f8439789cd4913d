// How the run log keeps its records: the queue, the journal, the size and number of its files.
#ifndef FWBASE_LOG_OPTIONS_H
#define FWBASE_LOG_OPTIONS_H

#include <cstddef>

#include <fwbase/ec.h>
#include <fwbase/export.h>

namespace fwbase {

/// The defaults are the log's behaviour without log_options().
struct LogOptions {
  /// In queued mode, the queue is full when it holds this many bytes or more. A record takes 22
  /// bytes in addition to its message and location.
  std::size_t queue_bytes = 16384;

  /// What write() does while the queue is full.
  enum WhenFull {
    kWait,      ///< waits for room
    kDropNew,   ///< drops its record
    kDropBelow  ///< waits if the level is in keep_level, else drops its record
  };
  WhenFull when_full = kWait;  ///< used in queued mode only

  /// For kDropBelow: IRunLog::Type bits of the levels that are never dropped.
  unsigned int keep_level = 0;

  /// In queued mode, keeps a copy of the queue in a file beside the log, <file>.journal: records
  /// whose write() has returned are not lost when the process is killed. The next file() of that
  /// log, whatever its options, writes what is left, once, in order, before anything new. A damaged
  /// journal is renamed to <file>.journal.damaged. When another process (such as the parent of a
  /// forked child) has a journal for that log, or no journal can be made, a record says so and the
  /// log has no journal. See docs/log_journal.md.
  bool journal = false;

  /// When a record brings the log file to this many bytes, the file becomes a backup.
  std::size_t file_bytes = 10485760;

  /// How many backups are kept: <file>.bak.0, the newest, and so on. With 0, a file that has
  /// reached its size starts anew, and its records are lost. Existing backups beyond this number
  /// stay as they are.
  int backups = 4;
};

/// Sets all options of the facade's built-in log, from now on.
///
/// A host calls this before asynch(true), as a rule before file(). The options stay until the next
/// call: over IRunLog::init() and release(), and in a child made with fork().
///
/// Dropped records are counted. As soon as there is room, one record at ERROR, whatever levels are
/// enabled, says how many were dropped and why. Records dropped for lack of memory or disk space
/// are not counted (see IRunLog).
///
/// Returns
///   LOG_OK         done; the file size and the number of backups apply to the open file, too
///   LOG_BAD_PARAM  queue_bytes or file_bytes is 0, backups is negative, when_full is none of its
///                  values, or queued mode is on (asynch(true)); nothing changed
///   LOG_NO_MEMORY  nothing changed
///
/// Any thread. Waits for init() and release() of the log, and takes the log's lock for writing.
FWBASE_NODISCARD FWBASE_API ec::EC log_options(const LogOptions& options);

}  // namespace fwbase

#endif
