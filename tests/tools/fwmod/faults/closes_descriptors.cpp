// init() closes all descriptors, and writes to standard output before.
#include <fwbase/module.h>

#include <cstdio>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    std::puts("garbage");
    std::fflush(stdout);
    for (int i = 0; i < 256; ++i) close(i);
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
