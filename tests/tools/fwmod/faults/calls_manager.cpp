// init() asks the module manager, whose lock is held.
#include <fwbase/module.h>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    return fwbase::IFWBase::instance()->mm()->is_valid(this) ? ec::MM_OK : ec::MM_BAD_PARAM;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
