// A group of rows about saving, for the program's main file.
#ifndef FWBASE_BENCH_LOAD_SAVE_H
#define FWBASE_BENCH_LOAD_SAVE_H

#include "bench/harness.h"

namespace fwbase::bench {

/// Saving a script of so many calls: the first time after loading, and later.
Group save_group(long calls);

}  // namespace fwbase::bench

#endif
