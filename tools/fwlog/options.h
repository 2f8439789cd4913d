// What the command line asks for: logs, filters, and the output.
#ifndef FWLOG_OPTIONS_H
#define FWLOG_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "filter.h"
#include "log_records/encoding.h"
#include "log_records/splitter.h"

namespace fwlog {

enum class Form { kText, kJson, kRaw };

struct Options {
  std::vector<std::string> files;
  bool only = false;
  bool follow = false;
  bool journal = false;
  std::optional<std::uint64_t> lines;
  Filter filter;
  Form form = Form::kText;
  bool full = false;
  bool stats = false;

  /// Only these tell whether a record may have been one with the next.
  log_records::Splitter::LookAhead look_ahead() const {
    using LookAhead = log_records::Splitter::LookAhead;
    return form == Form::kJson || (form == Form::kText && full) ? LookAhead::kNextHead
                                                                : LookAhead::kNone;
  }
};

/// Reads the command line. Returns the exit status when nothing is left to do: --help or --version
/// was answered, or the command line is wrong, and a complaint says why.
std::optional<int> parse_options(int argc, char** argv, Options& options);

}  // namespace fwlog

#endif
