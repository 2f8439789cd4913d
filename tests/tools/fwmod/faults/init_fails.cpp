// init() fails with a code of its own, which it logs.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    FWBASE_LOG(ERROR, "%s", "\xce\xde\xb7\xa8\xc1\xac\xbd\xd3\n");
    return 0x00abcdef;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
