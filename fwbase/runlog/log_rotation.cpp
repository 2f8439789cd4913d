// Backups of the log file.
#include "fwbase/runlog/log_rotation.h"

#include <cstdio>

namespace fwbase {

bool rotation_due(std::int64_t position) {
  // 32 bits count: a log of 4 GiB that was there before is appended to, not rotated at once.
  return position >= 0 && static_cast<std::uint32_t>(position) >= kRotationSize;
}

std::size_t records_until_rotation(const RecordTexts& texts, std::size_t first,
                                   std::int64_t position) {
  const auto begin = static_cast<std::int64_t>(texts.begin_of(first));
  std::size_t last = first;
  while (position >= 0 && last + 1 < texts.count() &&
         !rotation_due(position - begin + static_cast<std::int64_t>(texts.end_of(last)))) {
    ++last;
  }
  return last - first + 1;
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
