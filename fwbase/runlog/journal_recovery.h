// Finds the records of a batch that reached the log before the process that wrote them was killed.
#ifndef FWBASE_RUNLOG_JOURNAL_RECOVERY_H
#define FWBASE_RUNLOG_JOURNAL_RECOVERY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fwbase/runlog/journal_format.h"
#include "fwbase/runlog/log_record.h"

namespace fwbase {

struct BatchInLog {
  std::vector<bool> written;  ///< for each record: whether all of it is in the log
  /// The number of bytes of the batch at the end of the file, when the file ends with the first
  /// part of it; 0 otherwise. The missing bytes may be appended if only this log writes to the
  /// file.
  std::size_t begun = 0;
};

/// Looks for the records of a batch in the log.
///
/// batch    the texts of the records that the note is about
/// content  the bytes of the log file from the note's offset on
/// Throws std::bad_alloc.
BatchInLog find_batch(const JournalNote& note, const RecordTexts& batch, std::string_view content);

enum class NotedFile {
  kFound,
  kGone,    ///< no name leads to it
  kUnknown  ///< a file cannot be opened or read; errno says why
};

/// Finds and reads the file that the note is about: the log, or a file whose name begins as the
/// names of the log's backups do. Sets `name` to the name of that file and `content` to its bytes
/// from the note's offset on: the batch, and at most some mebibytes that other processes have
/// written meanwhile. Changes neither unless the result is kFound. Throws std::bad_alloc.
NotedFile read_noted_file(const JournalNote& note, const std::string& log, std::string& name,
                          std::string& content);

}  // namespace fwbase

#endif
