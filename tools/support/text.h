// Texts as the commands show them.
#ifndef TOOLS_SUPPORT_TEXT_H
#define TOOLS_SUPPORT_TEXT_H

#include <string>
#include <vector>

#include <fwbase/ec.h>

namespace tools {

/// "a, b, c"
std::string joined(const std::vector<std::string>& texts);

/// In double quotes, on one line: control characters, quotes and backslashes are escaped as in C.
std::string quoted(const std::string& text);

/// "SCRIPT_E_LOAD (0x0008000f): the script document could not be loaded"
std::string described(ec::EC code);

/// What the exception that is being handled says: "an exception: memory is low", or "an exception
/// of unknown type".
std::string exception_text();

/// A log message as UTF-8. The library's own words are GBK; names and values that it puts among
/// them are as the script has them, which is UTF-8.
std::string readable(const std::string& message);

}  // namespace tools

#endif
