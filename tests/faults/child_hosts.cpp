// For programs whose hosts are child processes, in which no allocation is made to fail.
#include "tests/faults/failing_allocations.h"

// A child has the memory of its parent, which is not released in it.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace fwbase::faults {

void print_refused() {}
void print_stack() {}

}  // namespace fwbase::faults
