// The factory makes no module.
#include <fwbase/module.h>

namespace {

struct Factory : fwbase::IMM::IFactory {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
  IBase* create() override { return nullptr; }
  void destroy(IBase*) override {}
};

}  // namespace

FWBASE_MODULE(Factory)
