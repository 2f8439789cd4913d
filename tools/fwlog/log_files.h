// The files of a log: FILE and its backups.
#ifndef FWLOG_LOG_FILES_H
#define FWLOG_LOG_FILES_H

#include <memory>
#include <string>
#include <vector>

#include "log_file.h"

namespace fwlog {

/// A file of the log that cannot be read, and why.
struct Unreadable {
  std::string name;
  int reason;  ///< an errno
};

struct LogFiles {
  std::vector<std::unique_ptr<LogFile>> files;  ///< the oldest first
  std::vector<Unreadable> unreadable;           ///< FILE also when it is not there
};

/// Opens FILE and, unless `only`, each FILE.bak.N that exists. Opens each file once and misses
/// none, even if the log is rotated meanwhile.
LogFiles open_log(const std::string& path, bool only, log_records::Splitter::LookAhead look_ahead);

/// The name that leads to this file now: FILE or a backup, or "".
std::string name_of(const std::string& path, FileId id);

}  // namespace fwlog

#endif
