// What the programs say on the console.
#ifndef SESSION_SERVER_CONSOLE_H
#define SESSION_SERVER_CONSOLE_H

#include <string>

namespace session_server {

/// Writes "PROGRAM: MESSAGE" as one line to standard error. The message may quote foreign text, and
/// a terminal acts on control characters: so they are shown as \x1b.
void complain(const char* program, const std::string& message);

}  // namespace session_server

#endif
