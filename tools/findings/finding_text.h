// Findings as lines of text, in a form that editors understand.
#ifndef TOOLS_FINDINGS_FINDING_TEXT_H
#define TOOLS_FINDINGS_FINDING_TEXT_H

#include <string>

#include <fwbase/check.h>

namespace tools {

/// "error" or "warning"
const char* severity(const fwbase::Finding& finding);

/// "door.xml:14:9: error: "open" needs the argument "who" [missing-argument]" and a line end, with
/// the message in the user's language. Only its colours act on a terminal.
std::string finding_line(const std::string& file, const fwbase::Finding& finding,
                         bool in_colour = false);

}  // namespace tools

#endif
