// --output text: records for people.
#ifndef FWLOG_TEXT_H
#define FWLOG_TEXT_H

#include "log_records/encoding.h"
#include "output.h"
#include "sink.h"

namespace fwlog {

/// How texts are shown: in which encoding they are, and whether levels have colours.
struct Style {
  log_records::Encoding encoding = log_records::Encoding::kAuto;
  bool colour = false;
};

/// The parts of records that all forms of text share.
class TextParts {
 public:
  TextParts(Style style, Output& out) : m_style(style), m_out(out) {}

  /// "2014-10-29 10:20:30 ", nothing without a time.
  void add_time(const log_records::Record& record);
  /// "ERROR ", in its colour; blanks without a level.
  void add_level(const log_records::Record& record);
  void add_location(std::string_view part, const log_records::Record& record);
  /// "2014-10-29 10:20:30 ERROR function: "
  void add_columns(const log_records::Record& record);
  /// Without the line ends around it. `indent` precedes each line but the first.
  void add_message(std::string_view message, std::string_view indent);

 protected:
  Output& out() { return m_out; }

 private:
  const Style m_style;
  Output& m_out;
};

/// "2014-10-29 10:20:30 ERROR function: message", with more lines of the message indented below.
class TextLines : public Sink, private TextParts {
 public:
  TextLines(Style style, Output& out) : TextParts(style, out) {}

  void take(const Found& found) override;
};

/// --full: one line for each field.
class FullText : public Sink, private TextParts {
 public:
  FullText(Style style, Output& out) : TextParts(style, out) {}

  void take(const Found& found) override;

 private:
  void add_place(const log_records::Record& record);
};

/// --output raw: the bytes of the file.
class RawBytes : public Sink {
 public:
  explicit RawBytes(Output& out) : m_out(out) {}

  void take(const Found& found) override { m_out.add(found.raw.bytes); }

 private:
  Output& m_out;
};

}  // namespace fwlog

#endif
