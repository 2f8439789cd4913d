// release() stops the facade.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override {
    fwbase::IFWBase::instance()->release();
    delete this;
  }
};

}  // namespace

FWBASE_MODULE(Module)
