// What of a batch has come to the log when the process that wrote it was killed.
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
  std::vector<bool> written;  ///< for each record: it is in the log whole
  /// The file ends with so many bytes of the batch, not with all: what is missing may be put behind
  /// them, if only this log writes to the file.
  std::size_t begun = 0;
};

/// batch    the texts of the records that the note is about
/// content  what the log file has from the note's offset on
/// Throws std::bad_alloc.
BatchInLog find_batch(const JournalNote& note, const RecordTexts& batch, std::string_view content);

enum class NotedFile {
  kFound,
  kGone,    ///< no name leads to it
  kUnknown  ///< it cannot be looked for, or read; errno says why
};

/// The name that leads to the file that the note is about, of the log's and of those that begin as
/// its backups do; and what the file has from the note's offset on: more than the batch only as far
/// as others have written meanwhile, and not more than some mebibytes of that. Both are left alone
/// where it is not found. Throws std::bad_alloc.
NotedFile read_noted_file(const JournalNote& note, const std::string& log, std::string& name,
                          std::string& content);

}  // namespace fwbase

#endif
