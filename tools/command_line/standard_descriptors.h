// Standard descriptors that a command was started without.
#ifndef TOOLS_COMMAND_LINE_STANDARD_DESCRIPTORS_H
#define TOOLS_COMMAND_LINE_STANDARD_DESCRIPTORS_H

namespace tools {

/// Opens the standard descriptors that are closed. Otherwise the next file to be opened would get
/// such a number, and output for the terminal would end up in that file. They are opened in the
/// wrong direction, so that using them fails.
void fill_closed_descriptors();

}  // namespace tools

#endif
