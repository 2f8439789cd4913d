// release() throws.
#include <fwbase/module.h>

#include <stdexcept>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { throw std::logic_error("in use"); }
};

}  // namespace

FWBASE_MODULE(Module)
