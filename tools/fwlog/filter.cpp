// Cheap conditions come first. Messages are decoded for regular expressions only.
#include "filter.h"

#include <algorithm>

namespace fwlog {

using log_records::append_decoded;
using log_records::Level;
using log_records::reading_of;
using log_records::Record;

namespace {

bool passes_time(const Filter& filter, const Record& record) {
  if (!filter.since && !filter.until) {
    return true;
  }
  return record.time && (!filter.since || *filter.since <= *record.time) &&
         (!filter.until || *record.time <= *filter.until);
}

std::string_view without_leading_zeros(std::string_view digits) {
  return digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
}

bool contains(const Record& record, std::string_view part, const std::string& text,
              log_records::Encoding encoding) {
  if (log_records::ascii_length(part) == part.size()) {
    return part.find(text) != part.npos;
  }
  std::string utf8;
  append_decoded(part, reading_of(record.location, encoding), utf8);
  return utf8.find(text) != utf8.npos;
}

bool passes_place(const Filter& filter, const Record& record) {
  if (!filter.object && !filter.function && !filter.source) {
    return true;
  }
  if (!record.place) {
    return false;
  }
  const log_records::Place& place = *record.place;
  return (!filter.object || *filter.object == without_leading_zeros(place.object)) &&
         (!filter.function ||
          contains(record, place.function, *filter.function, filter.encoding)) &&
         (!filter.source || contains(record, place.source, *filter.source, filter.encoding));
}

bool passes_message(const Filter& filter, const Record& record) {
  if (!filter.grep && !filter.exclude) {
    return true;
  }
  std::string& utf8 = filter.decoded;
  utf8.clear();
  append_decoded(record.message, reading_of(record.message, filter.encoding), utf8);
  return (!filter.grep || filter.grep->matches(utf8)) &&
         (!filter.exclude || !filter.exclude->matches(utf8));
}

bool is_trace_with(const Record& record, std::string_view begin) {
  return record.level == Level::kTrace && record.message.starts_with(begin);
}

}  // namespace

bool Filter::passes_level(std::string_view bytes) const {
  if (!levels) {
    return true;
  }
  const std::optional<Level> level = log_records::tag_at(bytes);
  return level && (*levels & (1U << static_cast<unsigned int>(*level))) != 0;
}

bool Filter::passes(const Record& record) const {
  return (!calls || is_call(record) || is_return(record)) && passes_time(*this, record) &&
         (!pid || pid == record.pid) && passes_place(*this, record) &&
         passes_message(*this, record);
}

std::optional<std::string> object_of(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
  }
  if (text.empty() || text.find_first_not_of("0123456789abcdefABCDEF") != text.npos) {
    return {};
  }
  std::string digits(without_leading_zeros(text));
  std::transform(digits.begin(), digits.end(), digits.begin(), [](char c) {
    return c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return digits;
}

bool is_call(const Record& record) { return is_trace_with(record, "Call: "); }

bool is_return(const Record& record) { return is_trace_with(record, "Ret: "); }

}  // namespace fwlog
