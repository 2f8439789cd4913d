// A module library with nothing visible but its creation function: its types are known to the host
// by their public interfaces only. Its factory throws an object.
#include <fwbase/module.h>

namespace {

struct Refusal : fwbase::IGlobalEnv::IObject {
  const char* describe() const override { return "no module today"; }
  IObject* clone() const override { return new Refusal; }
  void release() override { delete this; }
};

struct Factory : fwbase::IMM::IFactory {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
  fwbase::IMM::IBase* create() override { throw Refusal(); }
  void destroy(fwbase::IMM::IBase*) override {}
};

}  // namespace

FWBASE_MODULE(Factory)
