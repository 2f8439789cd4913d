// Crashes in the creation function.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  Module() { crash(); }
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
