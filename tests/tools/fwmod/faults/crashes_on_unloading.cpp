// Crashes in a static destructor.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

struct Unloading {
  ~Unloading() { crash(); }
};
const Unloading unloading;

}  // namespace

FWBASE_MODULE(Module)
