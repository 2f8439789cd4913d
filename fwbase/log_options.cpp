// Options of the built-in run log.
#include <fwbase/log_options.h>

#include "fwbase/cfwbase.h"

namespace fwbase {

ec::EC log_options(const LogOptions& options) {
  return static_cast<CFWBase*>(IFWBase::instance())->built_in_log().options(options);
}

}  // namespace fwbase
