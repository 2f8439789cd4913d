// The standard descriptors of a command.
#ifndef TOOLS_COMMAND_LINE_STANDARD_DESCRIPTORS_H
#define TOOLS_COMMAND_LINE_STANDARD_DESCRIPTORS_H

namespace tools {

/// Opens those of the three standard descriptors that the program was started without. A file that
/// is opened while one is closed would take its number, and what is meant for the terminal would
/// end in that file. What stands in is open the wrong way round, so that using it fails.
void fill_closed_descriptors();

}  // namespace tools

#endif
