// Groups of rows about sections that several threads run, for the program's main file.
#ifndef FWBASE_BENCH_SCRIPT_SIDE_BY_SIDE_H
#define FWBASE_BENCH_SCRIPT_SIDE_BY_SIDE_H

#include "bench/harness.h"

namespace fwbase::bench {

/// Sections whose functions take a while, run by one thread, by two and by four, beside the same
/// functions called without a script.
std::vector<Group> side_by_side_groups(const Options& options);

}  // namespace fwbase::bench

#endif
