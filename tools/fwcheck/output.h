// What fwcheck itself writes: results to standard output, messages to standard error. All UTF-8.
#ifndef FWCHECK_OUTPUT_H
#define FWCHECK_OUTPUT_H

#include <string>

#include "command_line/command.h"

namespace fwcheck {

using tools::complain;

enum Status : int {
  kClean = 0,
  kFindings = 1,
  kNothing = 2,  ///< wrong usage, or the work could not be begun
  kInterrupted = 130
};

/// Keeps standard output for write_out() alone: what modules write to it goes to standard error.
/// To be called once, before any module is loaded.
void take_standard_output();

/// Whether results go to a terminal.
bool is_terminal();

/// Writes `text` to standard output. A reader that has gone is none of our business; gives false,
/// and says so on standard error, where anything else prevents it.
bool write_out(const std::string& text);

}  // namespace fwcheck

#endif
