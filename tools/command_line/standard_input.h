// "-": standard input as a file that can be read more than once.
#ifndef TOOLS_COMMAND_LINE_STANDARD_INPUT_H
#define TOOLS_COMMAND_LINE_STANDARD_INPUT_H

#include <string>

#include "command_line/descriptor.h"

namespace tools {

/// A copy of standard input in memory, for the lifetime of the object.
class StandardInput {
 public:
  /// Reads standard input to its end, or until it is too long for a script.
  StandardInput();

  /// The path of the copy. No file has this path when standard input could not be read.
  std::string path() const;

 private:
  const Descriptor m_copy;
  const bool m_is_read;
};

}  // namespace tools

#endif
