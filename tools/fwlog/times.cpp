// Takes the parts of a TIME off from the left.
#include "times.h"

#include <cstdint>
#include <limits>

namespace fwlog {

using log_records::number_of;
using log_records::Time;

namespace {

Time local(std::time_t time) {
  std::tm parts{};
  if (localtime_r(&time, &parts) == nullptr) {
    return {std::numeric_limits<int>::min()};  // before all that was ever logged
  }
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

// Takes off a number with this many digits.
bool take(std::string_view& text, std::size_t digits, int& number) {
  const auto found = number_of(text.substr(0, digits));
  if (text.size() < digits || !found) {
    return false;
  }
  number = static_cast<int>(*found);
  text.remove_prefix(digits);
  return true;
}

bool take(std::string_view& text, char c) {
  if (!text.starts_with(c)) {
    return false;
  }
  text.remove_prefix(1);
  return true;
}

bool take_date(std::string_view& text, Time& time) {
  return take(text, 4, time.year) && take(text, '-') && take(text, 2, time.month) &&
         take(text, '-') && take(text, 2, time.day);
}

bool take_clock(std::string_view& text, Time& time) {
  time.hour = time.minute = time.second = 0;
  return take(text, 2, time.hour) && take(text, ':') && take(text, 2, time.minute) &&
         (text.empty() || (take(text, ':') && take(text, 2, time.second)));
}

std::int64_t seconds_of(std::string_view unit) {
  return unit == "s" ? 1 : unit == "min" ? 60 : unit == "h" ? 3600 : unit == "d" ? 86400 : 0;
}

std::optional<Time> time_ago(std::string_view text, std::time_t now) {
  const std::size_t digits = text.find_first_not_of("0123456789");
  const auto number = number_of(text.substr(0, digits));
  const std::int64_t unit = digits == text.npos ? 0 : seconds_of(text.substr(digits));
  if (!number || unit == 0) {
    return {};
  }
  constexpr std::uint64_t kLongest = std::uint64_t{1} << 40U;
  const auto count = static_cast<std::int64_t>(*number < kLongest ? *number : kLongest);
  return local(now - count * unit);
}

}  // namespace

std::optional<Time> time_of(std::string_view text, std::time_t now) {
  if (take(text, '-')) {
    return time_ago(text, now);
  }
  Time time;
  std::string_view rest = text;
  if (take_date(rest, time)) {
    if (!rest.empty() && (!take(rest, ' ') || !take_clock(rest, time))) {
      return {};
    }
  } else {
    rest = text;
    time = local(now);
    if (!take_clock(rest, time)) {
      return {};
    }
  }
  // A leap second is no TIME.
  if (!rest.empty() || !exists(time) || time.second == 60) {
    return {};
  }
  return time;
}

}  // namespace fwlog
