// --lines: the last records.
#ifndef FWLOG_LAST_RECORDS_H
#define FWLOG_LAST_RECORDS_H

#include <cstdint>
#include <deque>
#include <string>

#include "sink.h"

namespace fwlog {

/// Keeps the last records until finish(), hands them on then, and passes on what comes after that.
class LastRecords : public Sink {
 public:
  LastRecords(std::uint64_t count, Sink& next) : m_count(count), m_next(next) {}

  void take(const Found& found) override;
  void finish() override;

 private:
  struct Kept {
    std::string file;
    std::string bytes;
    std::uint64_t offset = 0;
    bool is_ambiguous = false;
  };

  const std::uint64_t m_count;
  Sink& m_next;
  std::deque<Kept> m_kept;
  bool m_passes_on = false;
};

}  // namespace fwlog

#endif
