// Logs as they are now.
#ifndef FWLOG_READING_H
#define FWLOG_READING_H

#include "delivery.h"
#include "options.h"

namespace fwlog {

/// Delivers the records of all logs. False when a file could not be read, which is told.
bool read_logs(const Options& options, Delivery& delivery);

}  // namespace fwlog

#endif
