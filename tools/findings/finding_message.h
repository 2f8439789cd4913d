// Messages of findings in the user's language.
#ifndef TOOLS_FINDINGS_FINDING_MESSAGE_H
#define TOOLS_FINDINGS_FINDING_MESSAGE_H

#include <string>

#include "command_line/messages.h"

namespace tools {

/// A finding's message in that language. What it quotes stays as it is, and so does a message of
/// the XML library.
std::string finding_message(Language language, const std::string& english);

}  // namespace tools

#endif
