// Waiting for files to change.
#ifndef TOOLS_COMMAND_LINE_FILE_WATCH_H
#define TOOLS_COMMAND_LINE_FILE_WATCH_H

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace tools {

/// Watches the directories of files. What the system does not tell, as of a file behind a link or
/// on another machine, is noticed by looking again every quarter of a second.
class FileWatch {
 public:
  explicit FileWatch(const std::vector<std::string>& paths);
  ~FileWatch();
  FileWatch(const FileWatch&) = delete;
  FileWatch& operator=(const FileWatch&) = delete;

  /// Until something changes or a signal comes, at most so long; changes of which nobody was told
  /// yet count. False when the reader of standard output has gone.
  bool wait(std::chrono::milliseconds longest);

  /// So long, whatever changes: so that a file which is written bit by bit is not looked at as
  /// often.
  static void pause(std::chrono::milliseconds time);

 private:
  void watch_directories();
  void forget_changes();

  int m_descriptor;                           // of inotify, negative where there is none
  std::map<std::string, bool> m_directories;  // with whether each is watched
};

}  // namespace tools

#endif
