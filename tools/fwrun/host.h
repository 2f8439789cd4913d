// The work of fwrun, once its command line is read: to be a script's host.
#ifndef FWRUN_HOST_H
#define FWRUN_HOST_H

#include "options.h"
#include "output.h"

namespace fwrun {

/// Lists or runs the script, as the options say. Returns the exit status.
Status run(Options options);

}  // namespace fwrun

#endif
