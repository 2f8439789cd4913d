// init() ends the thread that calls it, as a cancellation does.
#include <fwbase/module.h>
#include <pthread.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { ::pthread_exit(nullptr); }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
