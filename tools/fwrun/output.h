// What fwrun itself writes: results to standard output, messages to standard error. All UTF-8.
#ifndef FWRUN_OUTPUT_H
#define FWRUN_OUTPUT_H

#include <string>

#include "command_line/command.h"

namespace fwrun {

using tools::complain;

enum Status : int {
  kDone = 0,
  kFailed = 1,   ///< something failed while sections ran, or a result could not be written
  kNothing = 2,  ///< wrong usage or a script that cannot be loaded: no section was run
  kInterrupted = 130
};

/// Writes `text` to standard output at once. False when that fails, with the reason in errno.
bool write_text(const std::string& text);

/// The same; says on standard error what went wrong, and gives kFailed.
Status write_out(const std::string& text);

}  // namespace fwrun

#endif
