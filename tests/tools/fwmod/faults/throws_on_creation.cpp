// The module's constructor throws what is no std::exception.
#include <fwbase/module.h>

namespace {

struct Module : fwbase::IMM::IBase {
  Module() { throw 42; }
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
