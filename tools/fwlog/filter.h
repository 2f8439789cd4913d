// Which records are printed.
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

/// A record passes what is set. One that lacks what is asked for does not.
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
  bool calls = false;  ///< the tracer's records only
  log_records::Encoding encoding = log_records::Encoding::kAuto;

  mutable std::string decoded;  ///< a message; kept, so that not every one takes new memory

  /// Of the record's bytes only the tag is looked at.
  bool passes_level(std::string_view bytes) const;
  /// All but the level.
  bool passes(const log_records::Record& record) const;
};

/// The object as Filter has it; none for a text that is no hexadecimal number.
std::optional<std::string> object_of(std::string_view text);

/// True for the records that scopes write when they are entered and left.
bool is_call(const log_records::Record& record);
bool is_return(const log_records::Record& record);

}  // namespace fwlog

#endif
