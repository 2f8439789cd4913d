// The exit status, and how results are written.
#ifndef FWRUN_OUTPUT_H
#define FWRUN_OUTPUT_H

#include <string>

#include "command_line/command.h"

namespace fwrun {

using tools::complain;

enum Status : int {
  kDone = 0,
  kFailed = 1,   ///< a section failed, or a result could not be written
  kNothing = 2,  ///< wrong usage, or nothing could be loaded: no section ran
  kInterrupted = 130
};

/// Writes `text` to standard output at once. Complains when that fails, and returns kFailed.
inline Status write_out(const std::string& text) {
  return tools::write_out(text) ? kDone : kFailed;
}

}  // namespace fwrun

#endif
