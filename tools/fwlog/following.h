// --follow: logs as they grow.
#ifndef FWLOG_FOLLOWING_H
#define FWLOG_FOLLOWING_H

#include "delivery.h"
#include "options.h"
#include "output.h"

namespace fwlog {

/// Delivers the records that are there, and those that come until Ctrl-C. Complains when a log
/// cannot be read, and then returns false: at once when no log can be read.
bool follow_logs(const Options& options, Delivery& delivery, Output& out);

}  // namespace fwlog

#endif
