// Logs as they grow: --follow.
#ifndef FWLOG_FOLLOWING_H
#define FWLOG_FOLLOWING_H

#include "delivery.h"
#include "options.h"
#include "output.h"

namespace fwlog {

/// Delivers the records that are there and those that come, until Ctrl-C. False when a log could
/// not be read, which is told; returns at once when none could.
bool follow_logs(const Options& options, Delivery& delivery, Output& out);

}  // namespace fwlog

#endif
