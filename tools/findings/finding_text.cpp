// The form of GCC's messages.
#include "findings/finding_text.h"

#include "command_line/text.h"
#include "findings/finding_message.h"

namespace tools {

const char* severity(const fwbase::Finding& finding) { return finding.error ? "error" : "warning"; }

std::string finding_line(const std::string& file, const fwbase::Finding& finding, bool in_colour) {
  std::string what = std::string(severity(finding)) + ":";
  if (in_colour) {
    what = (finding.error ? "\x1b[1;31m" : "\x1b[1;35m") + what + "\x1b[0m";
  }
  return escaped(file) + ":" + std::to_string(finding.line) + ":" + std::to_string(finding.column) +
         ": " + what + " " + escaped(finding_message(users_language(), finding.message)) + " [" +
         finding.rule + "]\n";
}

}  // namespace tools
