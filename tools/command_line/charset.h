// Between UTF-8, which scripts and terminals use, GBK, which the run log uses, and the code page of
// the locale, which scripts are converted to.
#ifndef TOOLS_COMMAND_LINE_CHARSET_H
#define TOOLS_COMMAND_LINE_CHARSET_H

#include <string>

namespace tools {

/// `utf8` as GBK. What GBK has no code for, and bytes that are not UTF-8, become "?".
std::string gbk_of(const std::string& utf8);

/// `gbk` as UTF-8. Bytes that are not GBK become "?".
std::string utf8_of(const std::string& gbk);

/// `utf8` in the code page of the process's locale, which scripts are converted to; C and POSIX
/// count as UTF-8. What that lacks becomes "?".
std::string locale_text_of(const std::string& utf8);

}  // namespace tools

#endif
