// The whole check of one library.
#ifndef FWMOD_CHECK_H
#define FWMOD_CHECK_H

#include "options.h"

namespace fwmod {

/// Looks at the file, has another process try the library, and writes what came of it. Throws
/// std::system_error when there can be no such process.
/// argv   that of main(), from which the options are: the other process has the same
Status check(const Options& options, char** argv);

}  // namespace fwmod

#endif
