// --since and --until: a TIME on the command line.
#ifndef FWLOG_TIMES_H
#define FWLOG_TIMES_H

#include <ctime>
#include <optional>
#include <string_view>

#include "log_records/record.h"

namespace fwlog {

/// The local time that `text` means at `now`: YYYY-MM-DD, YYYY-MM-DD HH:MM[:SS], HH:MM[:SS] of
/// today, or -N with s, min, h or d. None for any other text or a date that does not exist.
std::optional<log_records::Time> time_of(std::string_view text, std::time_t now);

}  // namespace fwlog

#endif
