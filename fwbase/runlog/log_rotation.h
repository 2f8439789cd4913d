// The log file under its name, and its backups: <file>.bak.0, the newest, to <file>.bak.3, or as
// many as there shall be.
#ifndef FWBASE_RUNLOG_LOG_ROTATION_H
#define FWBASE_RUNLOG_LOG_ROTATION_H

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fwbase/runlog/log_file.h"
#include "fwbase/runlog/log_record.h"

namespace fwbase {

/// A log file of so many bytes, 10 MiB, is rotated, unless options say otherwise.
constexpr std::int64_t kRotationSize = 0xA00000;

/// When a log file is rotated, and how many backups are kept.
struct RotationLimits {
  std::uint64_t file_bytes = kRotationSize;
  int backups = 4;
};

/// By so many bytes a file that could not be rotated grows until that is tried again.
constexpr std::int64_t kRotationRetry = 0x10000;

/// Says whether a log file whose write position is `position` is to be rotated when it has
/// `file_bytes` bytes. A position of -1 (there is none) never is.
bool rotation_due(std::int64_t position, std::uint64_t file_bytes = kRotationSize);

/// Rotates the file of one name. Not synchronised.
class LogRotation {
 public:
  enum class Result {
    kDone,         ///< the file that is open is the one of the name: a new one, or that of another
                   ///< process which has rotated before
    kDoneTooLate,  ///< the same, but what was written last is lost: others have rotated so often
                   ///< that the file was removed
    kNoDirectory,  ///< the name leads nowhere any more; the file stays open
    kForeign,      ///< what has the name is not this log's; the file stays open
    kFailed        ///< the file stays open, under its name; errno says why
  };

  /// Of no file: rotation is never due.
  LogRotation() = default;

  /// Of the file that path leads to. Its name is made absolute and is that behind all symbolic
  /// links, so that the backups are on its volume. What is no regular file, and what is reached
  /// through /dev or /proc, belongs to others as well and is never rotated; /dev/shm is a directory
  /// as any other. Throws std::bad_alloc.
  explicit LogRotation(const char* path, const RotationLimits& limits = {});

  /// Other limits from now on. Throws std::bad_alloc; then nothing changed.
  void limit(const RotationLimits& limits);

  bool has_name() const { return !m_names.empty(); }

  /// What is to be opened.
  const char* path() const { return has_name() ? m_names.back().c_str() : ""; }

  /// Whether it is a regular file of the log's own: what is rotated, and may have a journal.
  bool rotates() const { return m_rotates; }

  /// The name that a journal of the log has.
  const std::string& journal() const { return m_journal; }

  /// Whether the name still stands for the file, or there is no need that it does.
  bool names(const LogFile& file) const;

  /// Whether the file is to be rotated, now that its write position is `position`. After a failure
  /// it is not until it has grown by kRotationRetry bytes.
  bool due(std::int64_t position) const;

  /// How many records from `first` on are to be written before one looks whether rotation is due,
  /// to a file whose write position is `position`: those up to the one that makes it due. One at a
  /// time where there is no position.
  std::size_t records_until_due(const RecordTexts& texts, std::size_t first,
                                std::int64_t position) const;

  /// Renames .bak.2 to .bak.3, .bak.1 to .bak.2, .bak.0 to .bak.1 and the file to .bak.0, and opens
  /// a new file in its place. The previous .bak.3 is lost, and a missing backup leaves a gap. Where
  /// a step fails, all is as it was. Likewise with another number of backups; without any the file
  /// itself is lost.
  ///
  /// When another process has made the file a backup, or the file was removed or moved away and
  /// nothing has its name, no backup is touched: only the file of the name is opened, and made if
  /// there is none. Allocates nothing.
  Result rotate(LogFile& file);

 private:
  Result change(LogFile& file) const;
  Result rename_and_open(LogFile& file) const;
  bool rename_all(std::size_t& renamed) const;
  void rename_back(std::size_t renamed) const;
  bool has_directory() const;
  bool is_backup(const struct stat& file) const;

  // From the name that the oldest backup has until the rotation has succeeded to that of the file.
  std::vector<std::string> m_names;
  std::string m_directory;
  std::string m_journal;
  std::uint64_t m_file_bytes = kRotationSize;
  bool m_rotates = false;
  std::int64_t m_failed_at = -1;  // the position; -1: the last rotation did not fail
};

}  // namespace fwbase

#endif
