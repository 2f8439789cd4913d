// The local time without the C library, whose lock a forked child may find taken for ever.
#ifndef FWBASE_RUNLOG_LOCAL_TIME_H
#define FWBASE_RUNLOG_LOCAL_TIME_H

#include <sys/stat.h>

#include <ctime>
#include <optional>
#include <string>

#include "fwbase/runlog/time_zone.h"
#include "support/mutex.h"

namespace fwbase {

/// The process's time zone: what TZ names, or else the system's. Any thread.
class LocalTime {
 public:
  LocalTime() = default;
  LocalTime(const LocalTime&) = delete;
  LocalTime& operator=(const LocalTime&) = delete;

  /// Breaks a time down as localtime() does; tm_yday and tm_isdst are left alone. The zone is read
  /// again when TZ or the zone's file has changed. A file that cannot be read any more, as in a
  /// changed root directory, leaves the rules that are known. False for a time beyond the calendar.
  bool break_down(std::time_t time, std::tm& local);

 private:
  void refresh() noexcept FWBASE_REQUIRES(m_mutex);
  void take_name(const char* tz) FWBASE_REQUIRES(m_mutex);
  void read_file() FWBASE_REQUIRES(m_mutex);

  void in_child(bool whole) FWBASE_NO_THREAD_SAFETY_ANALYSIS;

  struct Zone {
    std::optional<std::string> tz;  // the variable's value
    std::string path;               // of the zone's file; empty: it has none
    struct stat status = {};        // of the file that was read
    bool known = false;             // the rules are those of tz
    TimeZone rules;
  };

  support::RankedMutex m_mutex{support::LockRank::kLocalTime,
                               [this](bool whole) { in_child(whole); }};
  Zone m_zone FWBASE_GUARDED_BY(m_mutex);
};

/// The local time of this process. Never destroyed: threads may log while the process ends.
LocalTime& local_time();

}  // namespace fwbase

#endif
