// Members go to the output piece by piece, in the order that readers rely on.
#include "json.h"

#include "shown_text.h"

namespace fwlog {

using log_records::Encoding;
using log_records::Reading;
using log_records::reading_of;
using log_records::Record;

void JsonLines::add_text(std::string_view name, std::string_view text, Reading reading) {
  m_out.add(name);
  log_records::Pieces pieces(text, reading);
  std::string_view piece;
  while (pieces.next(piece)) {
    add_json(piece, m_out);
  }
  m_out.add('"');
}

void JsonLines::add_number(std::string_view name, std::uint64_t number) {
  m_out.add(name);
  m_out.add_number(number);
}

void JsonLines::add_place(const Record& record) {
  const Reading reading = reading_of(record.location, m_encoding);
  if (!record.place) {
    if (!record.location.empty()) {
      add_text(",\"location\":\"", record.location, reading);
    }
    return;
  }
  add_text(",\"object\":\"", record.place->object, reading);
  add_text(",\"function\":\"", record.place->function, reading);
  add_text(",\"source\":\"", record.place->source, reading);
  add_number(",\"line\":", record.place->line);
  add_text(",\"compiled\":\"", record.place->compiled, reading);
}

void JsonLines::take(const Found& found) {
  const Record& record = found.record;
  add_text("{\"file\":\"", found.file, reading_of(found.file, Encoding::kAuto));
  add_number(",\"offset\":", found.raw.offset);
  add_number(",\"length\":", found.raw.bytes.size());
  if (record.level) {
    m_out.add(",\"level\":\"");
    m_out.add(name_of(*record.level));
    m_out.add('"');
  }
  if (record.pid) {
    add_number(",\"pid\":", *record.pid);
  }
  if (record.time) {
    m_out.add(",\"time\":\"");
    add_time(*record.time, 'T', m_out);
    m_out.add('"');
  }
  add_place(record);
  add_text(",\"message\":\"", record.message, reading_of(record.message, m_encoding));
  m_out.add(found.raw.is_ambiguous ? ",\"ambiguous\":true}\n" : "}\n");
}

}  // namespace fwlog
