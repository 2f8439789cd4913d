// Takes records from files through the filters to where they are printed.
#ifndef FWLOG_DELIVERY_H
#define FWLOG_DELIVERY_H

#include "filter.h"
#include "log_file.h"
#include "sink.h"

namespace fwlog {

class Delivery {
 public:
  Delivery(const Filter& filter, Sink& sink) : m_filter(filter), m_sink(sink) {}

  void deliver(const LogFile& file, const log_records::RecordBytes& raw) {
    deliver(file.name(), raw);
  }
  /// file   the name of the file
  void deliver(const std::string& file, const log_records::RecordBytes& raw) {
    if (!m_filter.passes_level(raw.bytes)) {
      return;
    }
    const Found found{file, raw, log_records::parse_record(raw.bytes)};
    if (m_filter.passes(found.record)) {
      m_any_passed = true;
      m_sink.take(found);
    }
  }

  /// All records that were there at the start have been delivered.
  void finish() { m_sink.finish(); }
  bool any_passed() const { return m_any_passed; }

 private:
  const Filter& m_filter;
  Sink& m_sink;
  bool m_any_passed = false;
};

}  // namespace fwlog

#endif
