// The exit status, and how results are written.
#ifndef FWCHECK_OUTPUT_H
#define FWCHECK_OUTPUT_H

#include <string>

#include "command_line/command.h"

namespace fwcheck {

using tools::complain;

enum Status : int {
  kClean = 0,
  kFindings = 1,
  kNothing = 2,  ///< wrong usage, the check could not be started, or the result not be written
  kInterrupted = 130
};

/// Reserves standard output for write_out(): what modules write to it goes to standard error. To be
/// called once, before any module is loaded.
void take_standard_output();

/// Whether results may have colours.
bool wants_colour();

/// Writes `text` to standard output. A reader that has gone is no failure. Complains about any
/// other, and returns false.
bool write_out(const std::string& text);

}  // namespace fwcheck

#endif
