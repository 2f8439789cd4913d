#include <fwbase/module.h>

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};
struct NoModule {};

#ifdef NO_MODULE
FWBASE_MODULE(NoModule)
#else
FWBASE_MODULE(Module)
#endif
