// Writes a record piece by piece as it is decoded, and holds no text as a whole.
#include "text.h"

#include <algorithm>
#include <array>

#include "shown_text.h"

namespace fwlog {

using log_records::kLevelCount;
using log_records::Level;
using log_records::reading_of;
using log_records::Record;

namespace {

constexpr std::string_view kIndent = "    ";
constexpr std::array<std::string_view, kLevelCount> kShownLevels = {
    "TRACE ", "DEBUG ", "WARN  ", "ERROR ", "ALERT ", "DUMP  ", "NULL  "};
constexpr std::string_view kNoLevel = "      ";
constexpr std::array<std::string_view, kLevelCount> kColours = {
    "\x1b[2m", "\x1b[2m", "\x1b[33m", "\x1b[31m", "\x1b[1;31m", "\x1b[36m", ""};
constexpr std::string_view kNoColour = "\x1b[0m";

std::string_view without_line_ends_around(std::string_view message) {
  const std::size_t first = std::min(message.find_first_not_of("\r\n"), message.size());
  const std::size_t last = message.find_last_not_of("\r\n");
  return last == message.npos ? "" : message.substr(first, last + 1 - first);
}

}  // namespace

void TextParts::add_time(const Record& record) {
  if (record.time) {
    fwlog::add_time(*record.time, ' ', m_out);
    m_out.add(' ');
  }
}

void TextParts::add_level(const Record& record) {
  if (!record.level) {
    m_out.add(kNoLevel);
    return;
  }
  const auto level = static_cast<std::size_t>(*record.level);
  const bool colour = m_style.colour && !kColours[level].empty();
  m_out.add(colour ? kColours[level] : "");
  m_out.add(kShownLevels[level]);
  m_out.add(colour ? kNoColour : "");
}

void TextParts::add_location(std::string_view part, const Record& record) {
  log_records::Pieces pieces(part, reading_of(record.location, m_style.encoding));
  std::string_view piece;
  while (pieces.next(piece)) {
    add_shown(piece, kIndent, m_out);
  }
}

void TextParts::add_columns(const Record& record) {
  add_time(record);
  add_level(record);
  if (!record.location.empty()) {
    add_location(record.place ? function_name(record.place->function) : record.location, record);
    m_out.add(": ");
  }
}

void TextParts::add_message(std::string_view message, std::string_view indent) {
  const log_records::Reading reading = reading_of(message, m_style.encoding);
  log_records::Pieces pieces(without_line_ends_around(message), reading);
  std::string_view piece;
  while (pieces.next(piece)) {
    add_shown(piece, indent, m_out);
  }
  m_out.add('\n');
}

void TextLines::take(const Found& found) {
  add_columns(found.record);
  add_message(found.record.message, kIndent);
}

void FullText::add_place(const Record& record) {
  if (!record.place) {
    if (!record.location.empty()) {
      out().add("    location  ");
      add_location(record.location, record);
      out().add('\n');
    }
    return;
  }
  out().add("    function  ");
  add_location(record.place->function, record);
  out().add("\n    source    ");
  add_location(record.place->source, record);
  out().add(':');
  out().add_number(record.place->line);
  out().add("\n    compiled  ");
  add_location(record.place->compiled, record);
  out().add("\n    object    0x");
  add_location(record.place->object, record);
  out().add('\n');
}

void FullText::take(const Found& found) {
  const Record& record = found.record;
  add_time(record);
  add_level(record);
  if (record.pid) {
    out().add("pid ");
    out().add_number(*record.pid);
  }
  out().add("\n    file      ");
  out().add(shown(found.file));
  out().add(", offset ");
  out().add_number(found.raw.offset);
  out().add(", length ");
  out().add_number(found.raw.bytes.size());
  out().add('\n');
  add_place(record);
  out().add(found.raw.is_ambiguous ? "    ambiguous true\n    message   " : "    message   ");
  add_message(record.message, "              ");
}

}  // namespace fwlog
