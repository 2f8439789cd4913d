// init() crashes.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    crash();
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
