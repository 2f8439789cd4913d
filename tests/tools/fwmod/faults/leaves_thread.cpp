// Leaves a thread running.
#include <fwbase/module.h>

#include <thread>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    std::thread worker(hang);
    pthread_setname_np(worker.native_handle(), "worker");
    worker.detach();
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
