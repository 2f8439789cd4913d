// The filters: which records are printed.
#ifndef FWLOG_FILTER_H
#define FWLOG_FILTER_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "log_records/encoding.h"
#include "log_records/record.h"
#include "message_regex.h"

namespace fwlog {

/// A record passes when it meets every condition that is set. One without the field in question
/// does not pass.
struct Filter {
  std::optional<unsigned int> levels;  ///< bit 1 << Level for each
  std::optional<log_records::Time> since;
  std::optional<log_records::Time> until;
  std::optional<std::uint64_t> pid;
  std::optional<std::string> object;  ///< hex digits, lower case, without leading zeros
  std::optional<std::string> function;
  std::optional<std::string> source;
  std::unique_ptr<const Regex> grep;
  std::unique_ptr<const Regex> exclude;
  bool calls = false;  ///< records of scopes only
  log_records::Encoding encoding = log_records::Encoding::kAuto;

  mutable std::string decoded;  ///< a message; kept to reuse its memory

  /// Looks only at the tag that the record begins with.
  bool passes_level(std::string_view bytes) const;
  /// Looks at all but the level.
  bool passes(const log_records::Record& record) const;
};

/// An object in the form of Filter; none for a text that is no hexadecimal number.
std::optional<std::string> object_of(std::string_view text);

/// True for the records that scopes write at their start and at their end.
bool is_call(const log_records::Record& record);
bool is_return(const log_records::Record& record);

}  // namespace fwlog

#endif
