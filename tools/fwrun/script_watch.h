// Waiting until the script has changed.
#ifndef FWRUN_SCRIPT_WATCH_H
#define FWRUN_SCRIPT_WATCH_H

#include <sys/stat.h>

#include <optional>
#include <string>

#include "command_line/file_watch.h"

namespace fwrun {

/// What it is made for is the state of the file then, so that no change is missed that comes while
/// the file is read for the first time.
class ScriptWatch {
 public:
  explicit ScriptWatch(const std::string& path);

  /// Until the file is another one than at the last call, in whatever way it was written, and has
  /// been so for a moment: who writes it in several steps has come to an end. A file that is gone
  /// is told, once, and waited for. False after Ctrl-C, or when the reader of standard output has
  /// gone.
  bool wait_for_change();

 private:
  /// What changes whenever the file does; nothing when there is no file.
  struct State {
    dev_t device;
    ino_t inode;
    off_t size;
    time_t seconds;  // when it was written last
    long nanoseconds;
    bool operator==(const State&) const = default;
  };
  std::optional<State> state() const;

  const std::string m_path;
  tools::FileWatch m_watch;
  std::optional<State> m_known;  // at the last change; nothing once it is told that it is gone
};

}  // namespace fwrun

#endif
