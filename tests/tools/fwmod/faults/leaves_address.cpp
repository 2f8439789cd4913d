// Leaves the addresses of itself and of a variable in an environment.
#include <fwbase/module.h>

namespace {

int counter = 0;
int on_nobodys_side = 0;

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    fwbase::IGlobalEnv& env = *fwbase::IFWBase::instance()->global_env();
    env.insert_addr("counter", &counter);
    env.insert_addr("module", this);
    env.insert_addr("nothing", nullptr);
    env.insert_addr("changed", &on_nobodys_side);
    env.mod_addr("changed", nullptr);
    env.insert_str("name", "leaves_address");
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
