// The rules of a time zone.
#ifndef FWBASE_RUNLOG_TIME_ZONE_H
#define FWBASE_RUNLOG_TIME_ZONE_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace fwbase {

/// A day of every year, and a time on it, at which daylight-saving time begins or ends.
struct YearlyChange {
  enum class Day { kOfYear, kOfYearWithoutLeapDay, kWeekday };

  Day day = Day::kOfYear;
  unsigned int number = 0;             // of the day: of the year, or of the week (0 is Sunday)
  unsigned int week = 0;               // of the month: 1 to 5, the last
  unsigned int month = 0;              // 1 to 12
  std::int32_t seconds = 2 * 60 * 60;  // from the day's beginning; may be negative, or days

  /// The moment in a year, in seconds since 1970 on the clock that is changed.
  std::int64_t in_year(int year) const;
};

/// A zone that follows the same rules in all years: what TZ may hold instead of a name, and the end
/// of a zone file.
class YearlyRules {
 public:
  /// Reads the form that POSIX gives them: "CET-1CEST,M3.5.0,M10.5.0/3". Daylight-saving time
  /// without rules is that of the United States. Nothing when the text has another form. When
  /// only the rules cannot be read, there is no daylight-saving time.
  static std::optional<YearlyRules> read(std::string_view text);

  /// Seconds from UTC to the local time.
  std::int32_t offset(std::int64_t time) const;

 private:
  struct DaylightSaving {
    std::int32_t offset = 0;
    YearlyChange begin;
    YearlyChange end;
  };

  std::int32_t m_standard = 0;
  std::optional<DaylightSaving> m_daylight_saving;
};

/// The rules of one zone, past and to come.
class TimeZone {
 public:
  /// UTC.
  TimeZone() = default;
  explicit TimeZone(const YearlyRules& rules) : m_later(rules) {}

  /// Reads the content of a zone file (RFC 8536). Nothing when it is damaged or not a zone file.
  static std::optional<TimeZone> read_file(std::string_view content);

  /// Seconds from UTC to the local time. Where the zone counts leap seconds, they are in it.
  std::int64_t offset(std::int64_t time) const;

 private:
  struct Change {
    std::int64_t from;
    std::int32_t value;  // from then on
  };

  class FileReader;

  static const Change* last_before(const std::vector<Change>& changes, std::int64_t time);

  std::int32_t m_first = 0;  // offset before the first change
  std::vector<Change> m_offsets;
  std::vector<Change> m_leap_seconds;
  std::optional<YearlyRules> m_later;  // behind the last change
};

}  // namespace fwbase

#endif
