// A static constructor starts a daemon.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/daemon.h"

namespace {

const struct Start {
  Start() { start_daemon(); }
} start;

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
