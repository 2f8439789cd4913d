// --output json: one object on each line.
#ifndef FWLOG_JSON_H
#define FWLOG_JSON_H

#include "log_records/encoding.h"
#include "output.h"
#include "sink.h"

namespace fwlog {

class JsonLines : public Sink {
 public:
  JsonLines(log_records::Encoding encoding, Output& out) : m_encoding(encoding), m_out(out) {}

  void take(const Found& found) override;

 private:
  void add_place(const log_records::Record& record);
  void add_text(std::string_view name, std::string_view text, log_records::Reading reading);
  void add_number(std::string_view name, std::uint64_t number);

  const log_records::Encoding m_encoding;
  Output& m_out;
};

}  // namespace fwlog

#endif
