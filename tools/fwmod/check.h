// The whole check of one library, from its file to the result.
#ifndef FWMOD_CHECK_H
#define FWMOD_CHECK_H

#include "options.h"

namespace fwmod {

/// Examines the file, has another process try the library, and writes the result. Throws
/// std::system_error when that process cannot be started.
/// argv   of main(); the other process gets the same options
Status check(const Options& options, char** argv);

}  // namespace fwmod

#endif
