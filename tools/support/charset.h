// Between UTF-8, which scripts and terminals use, and GBK, which the run log uses.
#ifndef TOOLS_SUPPORT_CHARSET_H
#define TOOLS_SUPPORT_CHARSET_H

#include <string>

namespace tools {

/// `utf8` as GBK. What GBK has no code for, and bytes that are not UTF-8, become "?".
std::string gbk_of(const std::string& utf8);

/// `gbk` as UTF-8. Bytes that are not GBK become "?".
std::string utf8_of(const std::string& gbk);

}  // namespace tools

#endif
