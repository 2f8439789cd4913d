// Texts of a log as a terminal and as JSON may have them: what a log says is data, and none of its
// control characters is sent.
#ifndef FWLOG_SHOWN_TEXT_H
#define FWLOG_SHOWN_TEXT_H

#include <string>
#include <string_view>

#include "log_records/encoding.h"
#include "log_records/record.h"
#include "output.h"

namespace fwlog {

/// For people: control characters as \x1b and \u009b, as tools::escaped() has them. Tabs stay; line
/// feeds stay, and `indent` is put behind each.
/// utf8   valid
void add_shown(std::string_view utf8, std::string_view indent, Output& out);

/// Text that may be in any encoding, on one line: file names and messages about them.
std::string shown(std::string_view text);

/// The inside of a JSON string.
/// utf8   valid
void add_json(std::string_view utf8, Output& out);

/// "2014-10-29T10:20:30", with this character between date and time.
void add_time(const log_records::Time& time, char between, Output& out);

/// "fwbase::CScript::exec_scommad" of "virtual ec::EC fwbase::CScript::exec_scommad(const char*)";
/// a text that is no signature stays as it is.
std::string_view function_name(std::string_view signature);

}  // namespace fwlog

#endif
