// "-": standard input as a file that can be read from its start.
#ifndef TOOLS_COMMAND_LINE_STANDARD_INPUT_H
#define TOOLS_COMMAND_LINE_STANDARD_INPUT_H

#include <string>

#include "command_line/descriptor.h"

namespace tools {

/// A copy of standard input in memory, which goes with the object.
class StandardInput {
 public:
  /// Reads standard input to its end, or to where it is too long for a script.
  StandardInput();

  /// The path of a regular file; of none where standard input cannot be read.
  std::string path() const;

 private:
  const Descriptor m_copy;
  const bool m_is_read;
};

}  // namespace tools

#endif
