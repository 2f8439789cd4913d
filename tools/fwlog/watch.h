// Waiting for logs to change.
#ifndef FWLOG_WATCH_H
#define FWLOG_WATCH_H

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "command_line/descriptor.h"

namespace fwlog {

/// Watches the directories of logs. What the system does not tell, as of a file behind a link or on
/// another machine, is noticed by looking again every quarter of a second.
class Watch {
 public:
  explicit Watch(const std::vector<std::string>& paths);

  /// Until something changes, at most so long; changes of which nobody was told yet count. Throws
  /// ClosedPipe when the reader of standard output has gone.
  void wait(std::chrono::milliseconds longest);

  /// So long, whatever changes: so that a log which is written record by record is not read so.
  static void pause(std::chrono::milliseconds time);

 private:
  void watch_directories();
  void forget_changes();

  tools::Descriptor m_changes;                // of inotify
  std::map<std::string, bool> m_directories;  // with whether each is watched
};

}  // namespace fwlog

#endif
