// The log file under its name, and its backups: <file>.bak.0, the newest, to <file>.bak.3, unless
// options set another number.
#ifndef FWBASE_RUNLOG_LOG_ROTATION_H
#define FWBASE_RUNLOG_LOG_ROTATION_H

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fwbase/runlog/log_file.h"
#include "fwbase/runlog/log_record.h"

namespace fwbase {

/// The size in bytes at which a log file is rotated, 10 MiB, unless options set another.
constexpr std::int64_t kRotationSize = 0xA00000;

/// When a log file is rotated, and how many backups are kept.
struct RotationLimits {
  std::uint64_t file_bytes = kRotationSize;
  int backups = 4;
};

/// The number of bytes by which a log file grows after a failed rotation before the next attempt.
constexpr std::int64_t kRotationRetry = 0x10000;

/// Says whether a log file whose write position is `position` is to be rotated when it has
/// `file_bytes` bytes. A position of -1 (there is none) never is.
bool rotation_due(std::int64_t position, std::uint64_t file_bytes = kRotationSize);

/// Rotates the file of one name. Not synchronised.
class LogRotation {
 public:
  enum class Result {
    kDone,         ///< the open file has the name: it is new, or another process that rotated
                   ///< before has made it
    kDoneTooLate,  ///< the same, but the last records are lost: their file was removed, as when
                   ///< others have rotated many times
    kNoDirectory,  ///< the directory of the name is gone; the file stays open
    kForeign,      ///< a file of others has the name; the log's file stays open
    kFailed        ///< the file stays open, under its name; errno says why
  };

  /// Without a file: rotation is never due.
  LogRotation() = default;

  /// For the file that path leads to. Follows symbolic links and makes the name absolute, so that
  /// the backups are on the file's volume. A file that is not regular, and one that is reached
  /// through /dev or /proc, belongs to others as well and is never rotated; /dev/shm is an ordinary
  /// directory. Throws std::bad_alloc.
  explicit LogRotation(const char* path, const RotationLimits& limits = {});

  /// Sets other limits. Throws std::bad_alloc; then nothing has changed.
  void limit(const RotationLimits& limits);

  bool has_name() const { return !m_names.empty(); }

  /// The name of the file to open.
  const char* path() const { return has_name() ? m_names.back().c_str() : ""; }

  /// Whether the file is a regular one of the log's own, which is rotated and may have a journal.
  bool rotates() const { return m_rotates; }

  /// The name of the log's journal.
  const std::string& journal() const { return m_journal; }

  /// Whether the name still leads to the file. Always true for a file that is never rotated.
  bool names(const LogFile& file) const;

  /// Whether the file is to be rotated when its write position is `position`. After a failed
  /// rotation it must first grow by kRotationRetry bytes.
  bool due(std::int64_t position) const;

  /// The number of records, from `first` on, to write before the next look whether rotation is due:
  /// those up to the record that makes it due. 1 for a file without a position (-1).
  ///
  /// position   the write position before `first`
  std::size_t records_until_due(const RecordTexts& texts, std::size_t first,
                                std::int64_t position) const;

  /// Renames .bak.2 to .bak.3, .bak.1 to .bak.2, .bak.0 to .bak.1 and the file to .bak.0, and opens
  /// a new file in its place. The previous .bak.3 is lost, and a missing backup leaves a gap. When
  /// a step fails, all files get their names back. Another number of backups works in the same way;
  /// with none, the file itself is lost.
  ///
  /// When another process has made the file a backup, or the file was removed or moved away and
  /// nothing has its name, no backup is renamed: only the file of that name is opened, and created
  /// if there is none. Allocates nothing.
  Result rotate(LogFile& file);

 private:
  Result change(LogFile& file) const;
  Result rename_and_open(LogFile& file) const;
  bool rename_all(std::size_t& renamed) const;
  void rename_back(std::size_t renamed) const;
  bool has_directory() const;
  bool is_backup(const struct stat& file) const;

  // A temporary name, the backups from the oldest to the newest, and the file. A rotation gives
  // each file the name before its own. The oldest backup has the temporary name until the rotation
  // has succeeded, and is removed then.
  std::vector<std::string> m_names;
  std::string m_directory;
  std::string m_journal;
  std::uint64_t m_file_bytes = kRotationSize;
  bool m_rotates = false;
  std::int64_t m_failed_at = -1;  // write position; -1: the last rotation did not fail
};

}  // namespace fwbase

#endif
