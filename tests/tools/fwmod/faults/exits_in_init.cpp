// init() ends the process as a success.
#include <fwbase/module.h>

#include <cstdlib>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { std::exit(0); }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
