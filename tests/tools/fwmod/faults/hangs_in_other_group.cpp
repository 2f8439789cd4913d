// init() goes over to the process group of the one that started the process, and hangs. A daemon
// that it has started before hangs, too.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/daemon.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    start_daemon();
    if (setpgid(0, getpgid(getppid())) != 0) {
      return ec::MM_BAD_PARAM;
    }
    hang();
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
