// Groups of rows about variables, for the program's main file.
#ifndef FWBASE_BENCH_SCRIPT_VARIABLES_H
#define FWBASE_BENCH_SCRIPT_VARIABLES_H

#include "bench/harness.h"

namespace fwbase::bench {

/// get_value(), get_value_env(), set_value() and set_value_env() of ints, beside a map of variants.
std::vector<Group> variable_groups(const Options& options);

}  // namespace fwbase::bench

#endif
