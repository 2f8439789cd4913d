// Checking beside loading, for the program's main file.
#ifndef FWBASE_BENCH_LOAD_CHECK_H
#define FWBASE_BENCH_LOAD_CHECK_H

#include <vector>

#include "bench/load/loader.h"

namespace fwbase::bench {

/// check_script(), and load_script() as its floor: both read a file in the same way.
std::vector<LoaderKind> checking_kinds();

}  // namespace fwbase::bench

#endif
