// What fuzz targets assert with.
#ifndef FWBASE_FUZZ_HARNESS_CHECK_H
#define FWBASE_FUZZ_HARNESS_CHECK_H

#include <cstdio>
#include <cstdlib>

namespace fwbase::fuzz {

[[noreturn]] inline void fail(const char* condition, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: not so: %s\n", file, line, condition);
  std::abort();
}

}  // namespace fwbase::fuzz

/// Ends the process when condition is false, in all builds: that makes the input a finding.
#define FUZZ_CHECK(condition) \
  ((condition) ? static_cast<void>(0) : ::fwbase::fuzz::fail(#condition, __FILE__, __LINE__))

#endif
