// Waiting for files to change.
#ifndef TOOLS_COMMAND_LINE_FILE_WATCH_H
#define TOOLS_COMMAND_LINE_FILE_WATCH_H

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "command_line/descriptor.h"

namespace tools {

/// Watches the directories of files. The system does not report every change, such as that of a
/// file behind a link or on another machine: so it also looks every quarter of a second.
class FileWatch {
 public:
  explicit FileWatch(const std::vector<std::string>& paths);

  /// Waits until something changes or a signal comes, at most so long. Changes since the last call
  /// count. False when the reader of standard output has gone.
  bool wait(std::chrono::milliseconds longest);

  /// Waits this long, whatever changes, so that a file that grows bit by bit is not read as often.
  static void pause(std::chrono::milliseconds time);

 private:
  void watch_directories();
  void forget_changes();

  Descriptor m_changes;                       // of inotify
  std::map<std::string, bool> m_directories;  // with whether each is watched
};

}  // namespace tools

#endif
