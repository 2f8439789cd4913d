// init() hangs.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { hang(); }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
