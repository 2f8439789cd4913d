// Texts of a log in forms that are safe for terminals and JSON: their control characters are
// escaped.
#ifndef FWLOG_SHOWN_TEXT_H
#define FWLOG_SHOWN_TEXT_H

#include <string>
#include <string_view>

#include "log_records/encoding.h"
#include "log_records/record.h"
#include "output.h"

namespace fwlog {

/// For people: escapes control characters as tools::escaped() does, except tabs and line feeds,
/// and adds `indent` after each line feed.
///
/// utf8   valid UTF-8
void add_shown(std::string_view utf8, std::string_view indent, Output& out);

/// Text in any encoding, on one line.
std::string shown(std::string_view text);

/// Adds the inside of a JSON string.
///
/// utf8   valid UTF-8
void add_json(std::string_view utf8, Output& out);

/// "2014-10-29T10:20:30", with `between` between date and time.
void add_time(const log_records::Time& time, char between, Output& out);

/// "fwbase::CScript::exec_scommad" of "virtual ec::EC fwbase::CScript::exec_scommad(const char*)".
/// Returns a text that is no signature as it is.
std::string_view function_name(std::string_view signature);

}  // namespace fwlog

#endif
