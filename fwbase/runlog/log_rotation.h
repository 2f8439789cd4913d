// Backups of the log file: <file>.bak.0, the newest, to <file>.bak.3.
#ifndef FWBASE_RUNLOG_LOG_ROTATION_H
#define FWBASE_RUNLOG_LOG_ROTATION_H

#include <cstdint>
#include <string>

#include "fwbase/runlog/log_record.h"

namespace fwbase {

/// A log file of so many bytes, 10 MiB, is rotated.
constexpr std::int64_t kRotationSize = 0xA00000;

/// Says whether a log file whose write position is `position` is to be rotated. A
/// position of -1 (there is none) never is.
bool rotation_due(std::int64_t position);

/// How many records from `first` on are to be written before one looks whether rotation is due, to
/// a file whose write position is `position`: those up to the one that makes it due. One at a time
/// where there is no position.
std::size_t records_until_rotation(const RecordTexts& texts, std::size_t first,
                                   std::int64_t position);

/// Renames .bak.2 to .bak.3, .bak.1 to .bak.2, .bak.0 to .bak.1 and the file to .bak.0. The
/// previous .bak.3 is lost, a missing file leaves a gap, and a rename that fails is skipped.
/// Throws std::bad_alloc before anything is renamed.
void rotate_backups(const std::string& path);

}  // namespace fwbase

#endif
