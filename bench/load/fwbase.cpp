// The script engine: the document is parsed, checked, and made into calls.
#include "bench/load/engine.h"

namespace fwbase::bench {

namespace {

const RegisterLoader engine("fwbase", Role::kOurs,
                            []() -> std::unique_ptr<Loader> { return std::make_unique<Engine>(); });

}  // namespace

}  // namespace fwbase::bench
