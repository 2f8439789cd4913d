// --stats: numbers of records, instead of the records.
#ifndef FWLOG_STATISTICS_H
#define FWLOG_STATISTICS_H

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "log_records/encoding.h"
#include "output.h"
#include "sink.h"

namespace fwlog {

/// Counts by level, by function and by source file; the most frequent first.
class Statistics : public Sink {
 public:
  Statistics(log_records::Encoding encoding, Output& out) : m_encoding(encoding), m_out(out) {}

  void take(const Found& found) override;
  void finish() override;

 private:
  typedef std::map<std::string, std::uint64_t, std::less<>> Counts;

  void add_counts(std::string_view title, const Counts& counts);
  void add_line(std::uint64_t count, std::string_view name);

  void count(Counts& counts, std::string_view name, const log_records::Record& record);

  const log_records::Encoding m_encoding;
  Output& m_out;
  std::uint64_t m_records = 0;
  std::array<std::uint64_t, log_records::kLevelCount + 1> m_levels{};  // the last: no level
  Counts m_functions;
  Counts m_sources;
};

}  // namespace fwlog

#endif
