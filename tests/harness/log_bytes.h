// The records of a log, as fwlog finds them.
#ifndef FWBASE_TESTS_HARNESS_LOG_BYTES_H
#define FWBASE_TESTS_HARNESS_LOG_BYTES_H

#include <algorithm>
#include <string>
#include <string_view>

#include "log_records/record.h"
#include "log_records/splitter.h"

namespace fwbase::test {

/// Calls `take(bytes, record)` for each record of a log, in their order: with a std::string_view
/// and a log_records::Record.
template <typename Take>
void for_each_record(std::string_view log, Take take) {
  log_records::Splitter splitter(log_records::Splitter::LookAhead::kNone);
  std::copy(log.begin(), log.end(), splitter.room(log.size()).begin());
  splitter.added(log.size());
  log_records::RecordBytes raw;
  while (splitter.next(log_records::Splitter::Behind::kEnd, raw)) {
    take(raw.bytes, log_records::parse_record(raw.bytes));
  }
}

/// Takes the library's own reports at ERROR out of a log that has no other errors, and counts them.
inline int take_reports(std::string& log) {
  std::string others;
  int reports = 0;
  for_each_record(log, [&](std::string_view bytes, const log_records::Record& record) {
    const bool is_report = record.level == log_records::Level::kError && record.place;
    reports += is_report ? 1 : 0;
    others += is_report ? "" : bytes;
  });
  log = others;
  return reports;
}

}  // namespace fwbase::test

#endif
