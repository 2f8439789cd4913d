// Where records go after the filters.
#ifndef FWLOG_SINK_H
#define FWLOG_SINK_H

#include <string>

#include "log_records/record.h"
#include "log_records/splitter.h"

namespace fwlog {

/// A record and its place. Valid until the call that hands it on returns.
struct Found {
  const std::string& file;
  const log_records::RecordBytes& raw;
  log_records::Record record;
};

class Sink {
 public:
  Sink() = default;
  virtual ~Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  virtual void take(const Found& found) = 0;
  /// All records that were there at the start have been taken. With --follow more may come.
  virtual void finish() {}
};

}  // namespace fwlog

#endif
