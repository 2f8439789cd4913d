// --journal: the records that only the journal of a log has.
#ifndef FWLOG_JOURNAL_H
#define FWLOG_JOURNAL_H

#include <string>

#include "delivery.h"

namespace fwlog {

/// Delivers the records of the journal beside the log at `path`, if there is one, that are not in
/// the log yet. Changes nothing. Complains when the journal cannot be read, and returns false.
bool read_journal_of(const std::string& path, Delivery& delivery);

}  // namespace fwlog

#endif
