// What the journal of a log still holds.
#ifndef FWLOG_JOURNAL_H
#define FWLOG_JOURNAL_H

#include <string>

#include "delivery.h"

namespace fwlog {

/// Delivers the records of the journal beside the log at `path`, if there is one, that are not in
/// the log yet, without changing anything. False when it cannot be read, which is told.
bool read_journal_of(const std::string& path, Delivery& delivery);

}  // namespace fwlog

#endif
