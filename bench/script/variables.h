// Groups of rows about variables, for the program's main file.
#ifndef FWBASE_BENCH_SCRIPT_VARIABLES_H
#define FWBASE_BENCH_SCRIPT_VARIABLES_H

#include "bench/harness.h"

namespace fwbase::bench {

/// Reading and writing of ints by name, of global variables and of those of an environment, beside
/// a table of variants.
std::vector<Group> variable_groups(const Options& options);

}  // namespace fwbase::bench

#endif
