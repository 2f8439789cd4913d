// The script engine beside the model in tests/harness/script_model: what both log, return, call and
// write in the same scenario is the same, to the byte. Comparison says what an input is.
#include "fuzz/harness/check.h"
#include "tests/harness/script_model/comparison.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fwbase::script_model::Comparison comparison;
  const std::string difference = comparison.difference(data, size);
  if (!difference.empty()) {
    std::fprintf(stderr, "%s", difference.c_str());
  }
  FUZZ_CHECK(difference.empty());
  return 0;
}
