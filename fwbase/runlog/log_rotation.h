// Backups of the log file: <file>.bak.0, the newest, to <file>.bak.3.
#ifndef FWBASE_RUNLOG_LOG_ROTATION_H
#define FWBASE_RUNLOG_LOG_ROTATION_H

#include <cstdint>
#include <string>

namespace fwbase {

/// Says whether a log file whose write position is `position` is to be rotated: from 10 MiB on. A
/// position of -1 (there is none) never is.
bool rotation_due(std::int64_t position);

/// Renames .bak.2 to .bak.3, .bak.1 to .bak.2, .bak.0 to .bak.1 and the file to .bak.0. The
/// previous .bak.3 is lost, a missing file leaves a gap, and a rename that fails is skipped.
/// Throws std::bad_alloc before anything is renamed.
void rotate_backups(const std::string& path);

}  // namespace fwbase

#endif
