// A factory whose modules have objects of their own; nothing is left.
#include <fwbase/module.h>

namespace {

struct Product : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    fwbase::IFWBase::instance()->global_env()->insert_addr("product", this);
    return ec::MM_OK;
  }
  void release() override { fwbase::IFWBase::instance()->global_env()->rm_addr("product"); }
};

struct Factory : fwbase::IMM::IFactory {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
  IBase* create() override { return new Product; }
  void destroy(IBase* module) override { delete module; }
};

}  // namespace

FWBASE_MODULE(Factory)
