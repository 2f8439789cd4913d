// One record of a log, taken apart as docs/log_format.md says.
#ifndef LOG_RECORDS_RECORD_H
#define LOG_RECORDS_RECORD_H

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace log_records {

enum class Level : unsigned char { kTrace, kDebug, kWarn, kError, kAlert, kDump, kNull };

constexpr std::size_t kLevelCount = 7;
constexpr std::size_t kTagSize = 8;

/// "trace" to "null".
std::string_view name_of(Level level);
std::optional<Level> level_named(std::string_view name);

/// The level of the tag that `bytes` begin with.
std::optional<Level> tag_at(std::string_view bytes);

/// Local time of the process that wrote the record.
struct Time {
  int year = 0;
  int month = 1;  ///< from 1
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;

  auto operator<=>(const Time&) const = default;
};

/// True when the calendar has the day, and the day has the time.
bool exists(const Time& time);

/// The parts of a location that has one of the known forms.
struct Place {
  std::string_view object;  ///< hex digits
  std::string_view function;
  std::string_view source;
  std::uint64_t line = 0;
  std::string_view compiled;  ///< without "CT:"
};

/// The texts are parts of the record's bytes, in the log's encoding.
struct Record {
  std::optional<Level> level;        ///< none for what precedes the first record of a file
  bool has_head = false;             ///< false: the message is all behind the tag, if any
  std::optional<std::uint64_t> pid;  ///< "tid" when the record has no "pid"
  std::optional<Time> time;
  std::string_view location;
  std::optional<Place> place;  ///< none for a location of another form
  std::string_view message;    ///< without the record's line feed and one more line end
};

/// bytes   from the tag to the line feed at the end
Record parse_record(std::string_view bytes);

/// A number that fits in 64 bits, without a sign.
std::optional<std::uint64_t> number_of(std::string_view digits);

}  // namespace log_records

#endif
