// The host that fwrun is for a script, once its command line is read.
#ifndef FWRUN_HOST_H
#define FWRUN_HOST_H

#include "options.h"
#include "output.h"

namespace fwrun {

/// Lists or runs the script as the options say; gives the exit status.
Status run(Options options);

}  // namespace fwrun

#endif
