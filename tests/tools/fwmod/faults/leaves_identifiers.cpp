// A thread of the module numbers it and another module, and makes that one, once the module manager
// lets it: after init().
#include <fwbase/module.h>

#include <thread>

namespace {

struct Other : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

fwbase::IMM::IBase* make_other() { return new Other; }

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    worker = std::thread([this] {
      fwbase::IMM& manager = *fwbase::IFWBase::instance()->mm();
      IBase* other = nullptr;
      manager.create_module(other, make_other, nullptr);
      manager.create_mid(7, this);
      manager.auto_create_mid(other);
      manager.create_mid(9, this);
      manager.destroy_mid(9);
    });
    return ec::MM_OK;
  }
  void release() override {
    worker.join();
    delete this;
  }

  std::thread worker;
};

}  // namespace

FWBASE_MODULE(Module)
