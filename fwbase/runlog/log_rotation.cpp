// Backups of the log file.
#include "fwbase/runlog/log_rotation.h"

#include <cstdio>

namespace fwbase {

bool rotation_due(std::int64_t position) {
  constexpr std::uint32_t kLastPosition = 0x9FFFFF;
  // 32 bits count: a log of 4 GiB that was there before is appended to, not rotated at once.
  return position >= 0 && static_cast<std::uint32_t>(position) > kLastPosition;
}

void rotate_backups(const std::string& path) {
  std::string older = path + ".bak.3";
  std::string newer = older;
  for (const char digit : {'2', '1', '0'}) {
    newer.back() = digit;
    std::rename(newer.c_str(), older.c_str());
    older.back() = digit;
  }
  std::rename(path.c_str(), older.c_str());
}

}  // namespace fwbase
