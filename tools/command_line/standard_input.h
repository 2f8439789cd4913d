// "-": standard input as a file that can be read from its start.
#ifndef TOOLS_COMMAND_LINE_STANDARD_INPUT_H
#define TOOLS_COMMAND_LINE_STANDARD_INPUT_H

#include <string>

namespace tools {

/// A copy of standard input in memory, which goes with the object.
class StandardInput {
 public:
  /// Reads standard input to its end, or to where it is too long for a script.
  StandardInput();
  ~StandardInput();
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

  /// The path of a regular file; of none where standard input cannot be read.
  std::string path() const;

 private:
  int m_descriptor;
};

}  // namespace tools

#endif
