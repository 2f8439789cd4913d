// Parses the grammar of docs/log_format.md: a head from the left, and a location from the right,
// since only the parts at its end have forms that a function's signature cannot contain.
#include "log_records/record.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace log_records {

namespace {

using namespace std::string_view_literals;

constexpr std::array<std::string_view, kLevelCount> kTags = {
    "[TRACE]:", "[DEBUG]:", "[WARN ]:", "[ERROR]:", "[ALERT]:", "[DUMP ]:", "[NULL ]:"};
constexpr std::array<std::string_view, kLevelCount> kNames = {"trace", "debug", "warn", "error",
                                                              "alert", "dump",  "null"};
constexpr std::string_view kMark = "\r\n >";  // between head and message
constexpr std::string_view kDigits = "0123456789";

// "Wed Oct 29 10:20:30 " has a fixed size; the year follows.
constexpr std::size_t kTimeSizeWithoutYear = 20;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The place of a name among names of three letters, from 1; 0 for another name.
int place_in(std::string_view names, std::string_view name) {
  for (std::size_t at = 0; at < names.size(); at += 3) {
    if (names.substr(at, 3) == name) {
      return static_cast<int>(at / 3) + 1;
    }
  }
  return 0;
}

int month_of(std::string_view name) {
  return place_in("JanFebMarAprMayJunJulAugSepOctNovDec", name);
}

// Two characters; -1 when they are no number.
int two_digits(std::string_view text, bool may_have_blank = false) {
  const bool is_blank = may_have_blank && text[0] == ' ';
  if ((!is_blank && !is_digit(text[0])) || !is_digit(text[1])) {
    return -1;
  }
  return (is_blank ? 0 : text[0] - '0') * 10 + (text[1] - '0');
}

// "10:20:30"
bool read_clock(std::string_view text, Time& time) {
  time.hour = two_digits(text);
  time.minute = two_digits(text.substr(3));
  time.second = two_digits(text.substr(6));
  return text[2] == ':' && text[5] == ':' && time.hour >= 0 && time.minute >= 0 && time.second >= 0;
}

// Takes off " pid:4711"; a blank must follow.
std::optional<std::uint64_t> take_number(std::string_view& head, std::string_view name) {
  if (!head.starts_with(name)) {
    return {};
  }
  const std::size_t end = std::min(head.find(' ', name.size()), head.size());
  if (end == head.size()) {
    return {};
  }
  const std::optional<std::uint64_t> number =
      number_of(head.substr(name.size(), end - name.size()));
  if (number) {
    head.remove_prefix(end);
  }
  return number;
}

// Takes off " Wed Oct 29 10:20:30 2014"; a blank must follow.
std::optional<Time> take_time(std::string_view& head) {
  if (head.size() < kTimeSizeWithoutYear + 3 || head[0] != ' ') {
    return {};
  }
  const std::string_view text = head.substr(1);
  Time time;
  time.month = month_of(text.substr(4, 3));
  time.day = two_digits(text.substr(8), true);
  if (place_in("MonTueWedThuFriSatSun", text.substr(0, 3)) == 0 || time.month == 0 ||
      text[3] != ' ' || text[7] != ' ' || text[10] != ' ' || text[19] != ' ' ||
      !read_clock(text.substr(11), time)) {
    return {};
  }
  const std::size_t end = text.find(' ', kTimeSizeWithoutYear);
  if (end == text.npos) {
    return {};
  }
  const std::string_view digits = text.substr(kTimeSizeWithoutYear, end - kTimeSizeWithoutYear);
  const std::optional<std::uint64_t> year = digits.size() < 10 ? number_of(digits) : std::nullopt;
  if (!year) {
    return {};
  }
  time.year = static_cast<int>(*year);
  if (!exists(time)) {
    return {};
  }
  head.remove_prefix(end + 1);
  return time;
}

// Takes off the last word, and the blank before it.
std::optional<std::string_view> take_last_word(std::string_view& text) {
  const std::size_t blank = text.rfind(' ');
  if (blank == text.npos) {
    return {};
  }
  const std::string_view word = text.substr(blank + 1);
  text = text.substr(0, blank);
  return word;
}

// Takes off " CT:Oct 29 2014 10:20:30" at the end.
std::optional<std::string_view> take_compiled(std::string_view& text) {
  const std::size_t begin = text.rfind(" CT:");
  if (begin == text.npos) {
    return {};
  }
  const std::string_view built = text.substr(begin + 4);  // "Oct 29 2014 10:20:30"
  if (built.size() < 17 || month_of(built.substr(0, 3)) == 0 || built[3] != ' ' ||
      two_digits(built.substr(4), true) < 0 || built[6] != ' ') {
    return {};
  }
  const std::size_t year_end = built.find_first_not_of(kDigits, 7);
  Time time;
  if (year_end == 7 || year_end == built.npos || built.size() != year_end + 9 ||
      built[year_end] != ' ' || !read_clock(built.substr(year_end + 1), time)) {
    return {};
  }
  text = text.substr(0, begin);
  return built;
}

// Takes off " file(12)" or " file 12" at the end.
bool take_source(std::string_view& text, Place& place) {
  std::optional<std::string_view> word = take_last_word(text);
  if (!word) {
    return false;
  }
  std::optional<std::uint64_t> line;
  if (word->ends_with(')')) {
    const std::size_t bracket = word->rfind('(');
    if (bracket == word->npos) {
      return false;
    }
    line = number_of(word->substr(bracket + 1, word->size() - bracket - 2));
    word = word->substr(0, bracket);
  } else {
    line = number_of(*word);
    word = take_last_word(text);
  }
  if (!line || !word || word->empty() || word->find_first_of("\n\r\0"sv) != word->npos) {
    return false;
  }
  place.line = *line;
  place.source = *word;
  return true;
}

// Takes off "this(0x1234) " at the start.
bool take_object(std::string_view& text, Place& place) {
  constexpr std::string_view kBegin = "this(0x";
  if (!text.starts_with(kBegin)) {
    return false;
  }
  const std::size_t end = text.find_first_not_of("0123456789abcdef", kBegin.size());
  if (end == kBegin.size() || end == text.npos || !text.substr(end).starts_with(") ")) {
    return false;
  }
  place.object = text.substr(kBegin.size(), end - kBegin.size());
  text.remove_prefix(end + 2);
  return true;
}

std::optional<Place> parse_location(std::string_view text) {
  Place place;
  const std::optional<std::string_view> compiled = take_compiled(text);
  if (!compiled || !take_object(text, place) || !take_source(text, place) || text.empty() ||
      text.find_first_of("\r\0"sv) != text.npos) {
    return {};
  }
  place.compiled = *compiled;
  place.function = text;
  return place;
}

std::string_view without_line_ends(std::string_view message) {
  if (message.ends_with('\n')) {
    message.remove_suffix(1);
    if (message.ends_with('\n')) {
      message.remove_suffix(message.ends_with("\r\n") ? 2 : 1);
    }
  }
  return message;
}

// head   what stands between the tag and the mark
void parse_head(std::string_view head, Record& record) {
  const std::optional<std::uint64_t> pid = take_number(head, " pid:");
  const std::optional<std::uint64_t> tid = take_number(head, " tid:");
  record.pid = pid ? pid : tid;
  record.time = take_time(head);
  record.location = head.substr(1);
  record.place = parse_location(record.location);
}

}  // namespace

std::string_view name_of(Level level) { return kNames[static_cast<std::size_t>(level)]; }

std::optional<Level> level_named(std::string_view name) {
  const auto* const found = std::find(kNames.begin(), kNames.end(), name);
  if (found == kNames.end()) {
    return {};
  }
  return static_cast<Level>(found - kNames.begin());
}

std::optional<Level> tag_at(std::string_view bytes) {
  for (std::size_t i = 0; i < kTags.size(); ++i) {
    if (bytes.starts_with(kTags[i])) {
      return static_cast<Level>(i);
    }
  }
  return {};
}

bool exists(const Time& time) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool is_leap = (time.year % 4 == 0 && time.year % 100 != 0) || time.year % 400 == 0;
  if (time.month < 1 || time.month > 12) {
    return false;
  }
  const int days = kDays[time.month - 1] + (time.month == 2 && is_leap ? 1 : 0);
  // Systems do write leap seconds.
  return time.day >= 1 && time.day <= days && time.hour >= 0 && time.hour < 24 &&
         time.minute >= 0 && time.minute < 60 && time.second >= 0 && time.second <= 60;
}

std::optional<std::uint64_t> number_of(std::string_view digits) {
  std::uint64_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (digits.empty() || error != std::errc() || stop != end) {
    return {};
  }
  return number;
}

Record parse_record(std::string_view bytes) {
  Record record;
  record.level = tag_at(bytes);
  if (record.level) {
    bytes.remove_prefix(kTagSize);
    const std::size_t mark = bytes.starts_with(' ') ? bytes.find(kMark) : bytes.npos;
    if (mark != bytes.npos) {
      record.has_head = true;
      parse_head(bytes.substr(0, mark), record);
      bytes.remove_prefix(mark + kMark.size());
    }
  }
  record.message = without_line_ends(bytes);
  return record;
}

}  // namespace log_records
