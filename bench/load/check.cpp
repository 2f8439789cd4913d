// Checking a script in which nothing is wrong.
#include "bench/load/check.h"

#include <stdexcept>

#include <fwbase/check.h>

#include "bench/load/engine.h"

namespace fwbase::bench {

namespace {

/// Checks in place of loading.
class Checker : public Engine {
 public:
  void load(const char* path) override {
    if (!check_script(path).empty()) {
      throw std::runtime_error("a finding where there is none");
    }
  }
};

}  // namespace

std::vector<LoaderKind> checking_kinds() {
  return {{"check_script", Role::kOurs,
           []() -> std::unique_ptr<Loader> { return std::make_unique<Checker>(); }},
          {"load_script", Role::kFloor,
           []() -> std::unique_ptr<Loader> { return std::make_unique<Engine>(); }}};
}

}  // namespace fwbase::bench
