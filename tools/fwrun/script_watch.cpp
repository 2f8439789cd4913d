// A directory reports that one of its files has changed. The file's own data say whether it is the
// script, even after an editor has replaced it.
#include "script_watch.h"

#include <algorithm>
#include <chrono>

#include "interruption.h"
#include "output.h"

namespace fwrun {

using std::chrono::milliseconds;

namespace {

using Clock = std::chrono::steady_clock;

// A file is complete after so long without a change. File systems give writes that far apart
// different times.
constexpr milliseconds kQuiet(100);

// Looks at the file a hundred times a second at most, even in a busy directory.
constexpr milliseconds kPause(10);

}  // namespace

ScriptWatch::ScriptWatch(const std::string& path)
    : m_path(path), m_watch({path}), m_known(state()) {}

std::optional<ScriptWatch::State> ScriptWatch::state() const {
  struct stat status {};
  if (stat(m_path.c_str(), &status) != 0) {
    return {};
  }
  return State{status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
               status.st_mtim.tv_nsec};
}

bool ScriptWatch::wait_for_change() {
  std::optional<State> seen = m_known;
  Clock::time_point since = Clock::now() - kQuiet;
  while (!was_interrupted()) {
    const std::optional<State> now = state();
    if (now != seen) {
      seen = now;
      since = Clock::now();
    }
    const auto left = std::chrono::ceil<milliseconds>(since + kQuiet - Clock::now());
    if (left <= milliseconds(0) && seen && seen != m_known) {
      m_known = seen;
      return true;
    }
    if (left <= milliseconds(0) && !seen && m_known) {
      complain({"'{1}' is not there any more; waiting for it", "“{1}”已不存在，等待它出现"},
               {m_path});
      m_known.reset();
    }
    if (!m_watch.wait(left > milliseconds(0) ? left : milliseconds::max())) {
      return false;
    }
    tools::FileWatch::pause(kPause);
  }
  return false;
}

}  // namespace fwrun
