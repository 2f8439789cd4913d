// Reads zone files and the POSIX form of TZ as the C library does. The C library's functions take a
// lock, which a forked child may find taken for ever.
#include "fwbase/runlog/time_zone.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace fwbase {

namespace {

using std::chrono::January;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

constexpr std::int32_t kMinute = 60;
constexpr std::int32_t kHour = 60 * kMinute;

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// Takes the parts of the POSIX form off its front. Each function returns whether its part was
/// there.
class FormReader {
 public:
  explicit FormReader(std::string_view text) : m_left(text) {}

  bool at_end() const { return m_left.empty(); }

  // Letters, or anything in angle brackets; three characters at least.
  bool name() {
    constexpr std::size_t kShortest = 3;
    const bool quoted = take('<');
    const auto end = quoted ? std::find(m_left.begin(), m_left.end(), '>')
                            : std::find_if_not(m_left.begin(), m_left.end(), is_letter);
    const auto length = static_cast<std::size_t>(end - m_left.begin());
    m_left.remove_prefix(length);
    return length >= kShortest && (!quoted || take('>'));
  }

  // [+-]hours[:minutes[:seconds]]
  bool time(unsigned int most_hours, std::int32_t& value) {
    const bool negative = take('-');
    if (!negative) {
      take('+');
    }
    unsigned int hours = 0;
    unsigned int minutes = 0;
    unsigned int seconds = 0;
    if (!number(0, most_hours, hours) ||
        (take(':') && (!number(0, 59, minutes) || (take(':') && !number(0, 59, seconds))))) {
      return false;
    }
    const auto size = static_cast<std::int32_t>(hours) * kHour +
                      static_cast<std::int32_t>(minutes) * kMinute +
                      static_cast<std::int32_t>(seconds);
    value = negative ? -size : size;
    return true;
  }

  // ,day[/time]
  bool change(YearlyChange& value) {
    constexpr unsigned int kMostHours = 167;
    return take(',') && day(value) && (!take('/') || time(kMostHours, value.seconds));
  }

 private:
  bool take(char wanted) {
    const bool found = m_left.starts_with(wanted);
    m_left.remove_prefix(found ? 1 : 0);
    return found;
  }

  bool number(unsigned int least, unsigned int most, unsigned int& value) {
    const bool found = !m_left.empty() && is_digit(m_left.front());
    for (value = 0; !m_left.empty() && is_digit(m_left.front()) && value <= most;) {
      value = value * 10 + static_cast<unsigned int>(m_left.front() - '0');
      m_left.remove_prefix(1);
    }
    return found && value >= least && value <= most;
  }

  // Mmonth.week.weekday, Jday or day
  bool day(YearlyChange& value) {
    if (take('M')) {
      value.day = YearlyChange::Day::kWeekday;
      return number(1, 12, value.month) && take('.') && number(1, 5, value.week) && take('.') &&
             number(0, 6, value.number);
    }
    if (take('J')) {
      value.day = YearlyChange::Day::kOfYearWithoutLeapDay;
      return number(1, 365, value.number);
    }
    value.day = YearlyChange::Day::kOfYear;
    return number(0, 365, value.number);
  }

  std::string_view m_left;
};

int year_of(std::int64_t time) {
  const auto day = std::chrono::floor<std::chrono::days>(sys_seconds(std::chrono::seconds(time)));
  return static_cast<int>(std::chrono::year_month_day(day).year());
}

}  // namespace

// --- Yearly rules ---

std::int64_t YearlyChange::in_year(int year) const {
  constexpr unsigned int kLastWeek = 5;
  constexpr unsigned int kEndOfFebruary = 31 + 28;
  const std::chrono::year calendar_year(year);
  sys_days on = calendar_year / January / 1;
  if (day == Day::kWeekday) {
    const auto of_month = calendar_year / std::chrono::month(month);
    const std::chrono::weekday weekday(number);
    on = week == kLastWeek ? sys_days(of_month / weekday[std::chrono::last])
                           : sys_days(of_month / weekday[week]);
  } else if (day == Day::kOfYear) {
    on += std::chrono::days(number);
  } else {
    const bool behind_leap_day = calendar_year.is_leap() && number > kEndOfFebruary;
    on += std::chrono::days(behind_leap_day ? number : number - 1);
  }
  return sys_seconds(on).time_since_epoch().count() + seconds;
}

std::optional<YearlyRules> YearlyRules::read(std::string_view text) {
  constexpr unsigned int kMostHours = 24;
  YearlyRules rules;
  FormReader form(text);
  std::int32_t west = 0;  // as POSIX counts
  if (!form.name() || !form.time(kMostHours, west)) {
    return std::nullopt;
  }
  rules.m_standard = -west;
  DaylightSaving summer;
  if (form.at_end() || !form.name()) {
    return rules;
  }
  summer.offset = form.time(kMostHours, west) ? -west : rules.m_standard + kHour;
  if (form.at_end()) {
    form = FormReader(",M3.2.0,M11.1.0");
  }
  if (form.change(summer.begin) && form.change(summer.end) && form.at_end()) {
    rules.m_daylight_saving = summer;
  }
  return rules;
}

// South of the equator, daylight-saving time ends earlier in the year than it begins. The year is
// the year in UTC, as in the C library: rules for the first or last hours of a year depend on it.
std::int32_t YearlyRules::offset(std::int64_t time) const {
  if (!m_daylight_saving) {
    return m_standard;
  }
  const DaylightSaving& summer = *m_daylight_saving;
  const int year = year_of(time);
  const std::int64_t begin = summer.begin.in_year(year) - m_standard;
  const std::int64_t end = summer.end.in_year(year) - summer.offset;
  const bool is_summer = begin <= end ? begin <= time && time < end : time < end || begin <= time;
  return is_summer ? summer.offset : m_standard;
}

// --- Zone files ---

/// Takes big-endian numbers off the front of a file. Behind the end they are 0 and the file is
/// damaged.
class TimeZone::FileReader {
 public:
  explicit FileReader(std::string_view content) : m_left(content) {}

  bool read(TimeZone& zone) {
    Header header = read_header();
    std::size_t width = 4;
    if (header.version != '\0') {  // the same again follows, in twice the width, and rules
      skip(header.size(width));
      header = read_header();
      width = 8;
    }
    if (m_damaged || header.size(width) > m_left.size() || header.types == 0) {
      return false;
    }
    read_offsets(zone, header, width);
    read_leap_seconds(zone, header, width);
    if (width == 8) {
      read_rules(zone);
    }
    return !m_damaged;
  }

 private:
  struct Header {
    char version = '\0';
    std::size_t universal = 0;
    std::size_t standard = 0;
    std::size_t leap_seconds = 0;
    std::size_t changes = 0;
    std::size_t types = 0;
    std::size_t name_bytes = 0;

    std::size_t size(std::size_t width) const {
      return changes * (width + 1) + types * kTypeSize + name_bytes + leap_seconds * (width + 4) +
             standard + universal;
    }
  };

  static constexpr std::size_t kTypeSize = 6;

  std::string_view take(std::size_t size) {
    m_damaged = m_damaged || size > m_left.size();
    if (m_damaged) {
      return {};
    }
    const std::string_view taken = m_left.substr(0, size);
    m_left.remove_prefix(size);
    return taken;
  }

  void skip(std::size_t size) { take(size); }

  std::int64_t number(std::size_t width) {
    const std::string_view bytes = take(width);
    std::uint64_t value = !bytes.empty() && (bytes[0] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
    for (const char byte : bytes) {
      value = value << 8 | static_cast<unsigned char>(byte);
    }
    return static_cast<std::int64_t>(value);
  }

  std::size_t count() { return static_cast<std::uint32_t>(number(4)); }

  Header read_header() {
    constexpr std::string_view kMagic = "TZif";
    constexpr std::size_t kReserved = 15;
    m_damaged = take(kMagic.size()) != kMagic || m_damaged;
    Header header;
    header.version = static_cast<char>(number(1));
    skip(kReserved);
    for (std::size_t* const field : {&header.universal, &header.standard, &header.leap_seconds,
                                     &header.changes, &header.types, &header.name_bytes}) {
      *field = count();
    }
    return header;
  }

  // Times of changes, the type that each begins, and the types: offset, whether it is
  // daylight-saving time, and the name. Before the first change the first type is in force that is
  // not daylight-saving time.
  void read_offsets(TimeZone& zone, const Header& header, std::size_t width) {
    std::vector<std::int64_t> times(header.changes);
    for (std::int64_t& time : times) {
      time = number(width);
    }
    const std::string_view type_of = take(header.changes);
    std::vector<std::int32_t> offsets(header.types);
    std::size_t first = header.types;
    for (std::size_t i = 0; i < header.types; ++i) {
      offsets[i] = static_cast<std::int32_t>(number(4));
      const bool daylight_saving = number(1) != 0;
      skip(1);
      first = !daylight_saving && first == header.types ? i : first;
    }
    skip(header.name_bytes);
    zone.m_first = offsets[first < header.types ? first : 0];
    for (std::size_t i = 0; i < header.changes; ++i) {
      const auto type = static_cast<unsigned char>(type_of[i]);
      m_damaged = m_damaged || type >= header.types || (i > 0 && times[i] <= times[i - 1]);
      zone.m_offsets.push_back({times[i], m_damaged ? 0 : offsets[type]});
    }
  }

  void read_leap_seconds(TimeZone& zone, const Header& header, std::size_t width) {
    for (std::size_t i = 0; i < header.leap_seconds; ++i) {
      const std::int64_t from = number(width);
      zone.m_leap_seconds.push_back({from, static_cast<std::int32_t>(number(4))});
    }
    skip(header.standard + header.universal);
  }

  // In a line of their own, which may be empty.
  void read_rules(TimeZone& zone) {
    m_damaged = take(1) != "\n" || m_damaged;
    zone.m_later = YearlyRules::read(m_left.substr(0, m_left.find('\n')));
  }

  std::string_view m_left;
  bool m_damaged = false;
};

std::optional<TimeZone> TimeZone::read_file(std::string_view content) {
  TimeZone zone;
  return FileReader(content).read(zone) ? std::optional(std::move(zone)) : std::nullopt;
}

const TimeZone::Change* TimeZone::last_before(const std::vector<Change>& changes,
                                              std::int64_t time) {
  const auto next = std::upper_bound(
      changes.begin(), changes.end(), time,
      [](std::int64_t wanted, const Change& change) { return wanted < change.from; });
  return next == changes.begin() ? nullptr : &*std::prev(next);
}

std::int64_t TimeZone::offset(std::int64_t time) const {
  const Change* const leap_second = last_before(m_leap_seconds, time);
  const std::int64_t leap_seconds = leap_second != nullptr ? leap_second->value : 0;
  const Change* const change = last_before(m_offsets, time);
  std::int64_t from_utc = change != nullptr ? change->value : m_first;
  if (m_later && (m_offsets.empty() || change == &m_offsets.back())) {
    from_utc = m_later->offset(time - leap_seconds);
  }
  return from_utc - leap_seconds;
}

}  // namespace fwbase
