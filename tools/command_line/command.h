// What all commands do alike: how they start and end, and how they complain.
#ifndef TOOLS_COMMAND_LINE_COMMAND_H
#define TOOLS_COMMAND_LINE_COMMAND_H

#include <functional>
#include <string>
#include <string_view>

#include "command_line/messages.h"

namespace tools {

/// The body of main(): opens closed standard descriptors, ignores SIGPIPE, so that writing fails
/// when the reader has gone, and returns what `work` returns. Complains and returns `failure` when
/// memory runs out, a system call throws, or code that the command loaded ends the thread.
/// name         begins every complaint
/// other_code   what is blamed for the end of the thread
int run_command(const char* name, int failure, const std::function<int()>& work,
                const char* other_code = "a module");

/// Writes all bytes to a descriptor. Returns 0, or the errno of a failure.
int write_all(int descriptor, std::string_view bytes);

/// True for a terminal, unless NO_COLOR is set.
bool wants_colour(int descriptor);

/// Writes `text` to standard output at once. When that fails, returns false, with the reason in
/// errno.
bool write_text(const std::string& text);

/// The same; complains when it fails.
bool write_out(const std::string& text);

/// Writes the command's name, ": ", the message, escaped, and the end of the line to standard
/// error.
void complain(const Message& message, MessageArguments arguments = {});
void complain_text(const std::string& message);

}  // namespace tools

#endif
