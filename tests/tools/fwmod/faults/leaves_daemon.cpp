// Leaves a daemon running.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/daemon.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    start_daemon();
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
