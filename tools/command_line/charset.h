// Conversions between UTF-8, which scripts and terminals use, GBK, which the run log uses, and the
// code page of the locale, to which the library converts scripts.
#ifndef TOOLS_COMMAND_LINE_CHARSET_H
#define TOOLS_COMMAND_LINE_CHARSET_H

#include <string>

namespace tools {

/// `utf8` as GBK. Characters that GBK lacks, and bytes that are not UTF-8, become "?".
std::string gbk_of(const std::string& utf8);

/// `gbk` as UTF-8. Bytes that are not GBK become "?".
std::string utf8_of(const std::string& gbk);

/// `utf8` in the code page of the process's locale; C and POSIX count as UTF-8. Characters that the
/// code page lacks become "?".
std::string locale_text_of(const std::string& utf8);

}  // namespace tools

#endif
