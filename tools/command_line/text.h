// How the commands show texts.
#ifndef TOOLS_COMMAND_LINE_TEXT_H
#define TOOLS_COMMAND_LINE_TEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/// "a, b, c"
std::string joined(const std::vector<std::string>& texts);

/// Foreign text that is safe for a terminal: control characters (below 0x20, 0x7F, and U+0080 to
/// U+009F) and bytes that are not UTF-8 are escaped as \n, \t, \x1b and \u009b. Backslashes stay,
/// so that escaping twice does no harm.
///
/// kept   control characters below 0x20 that are not escaped
std::string escaped(std::string_view text, std::string_view kept = {});

/// In double quotes, escaped, and with a backslash before quotes and backslashes.
std::string quoted(std::string_view text);

/// A name as lists show it: quoted() when it is empty or has characters to escape.
std::string shown_name(const std::string& name);

/// For a catch block: "an exception: memory is low", or "an exception of unknown type". Rethrows
/// what ends a thread, by pthread_exit() or a cancellation.
std::string exception_text();

/// A log message as UTF-8. The library's own words are GBK; names and values among them are as in
/// the script, which is UTF-8.
std::string readable(const std::string& message);

}  // namespace tools

#endif
