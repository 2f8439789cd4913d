// Without --follow: logs as they are now.
#ifndef FWLOG_READING_H
#define FWLOG_READING_H

#include "delivery.h"
#include "options.h"

namespace fwlog {

/// Delivers the records of all logs. Complains about files that cannot be read, and then returns
/// false.
bool read_logs(const Options& options, Delivery& delivery);

}  // namespace fwlog

#endif
