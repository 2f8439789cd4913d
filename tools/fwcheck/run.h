// The work of fwcheck, once its command line is read.
#ifndef FWCHECK_RUN_H
#define FWCHECK_RUN_H

#include "options.h"
#include "output.h"

namespace fwcheck {

/// Checks the scripts or prints the functions, as the options say. Returns the exit status.
Status run(const Options& options);

}  // namespace fwcheck

#endif
