// --watch: waits until the script has changed.
#ifndef FWRUN_SCRIPT_WATCH_H
#define FWRUN_SCRIPT_WATCH_H

#include <sys/stat.h>

#include <optional>
#include <string>

#include "command_line/file_watch.h"

namespace fwrun {

/// Knows the state of the file from its construction on, so that it misses no change that comes
/// while the file is read for the first time.
class ScriptWatch {
 public:
  explicit ScriptWatch(const std::string& path);

  /// Waits until the file differs from that of the last call, however it was written, and has not
  /// changed for a moment, so that a writer of several steps is done. Complains once about a file
  /// that is gone, and waits for it. False after Ctrl-C, or when the reader of standard output has
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
  std::optional<State> m_known;  // at the last change; nothing after the complaint
};

}  // namespace fwrun

#endif
