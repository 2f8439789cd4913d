// init() throws.
#include <fwbase/module.h>

#include <stdexcept>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { throw std::runtime_error("no database\nat all"); }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
