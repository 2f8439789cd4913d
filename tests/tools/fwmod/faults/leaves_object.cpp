// Leaves objects of its own class in the default environment and in one of a key.
#include <fwbase/module.h>

namespace {

struct Object : fwbase::IGlobalEnv::IObject {
  IObject* clone() const override { return new Object; }
  void release() override { delete this; }
};

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    fwbase::IFWBase& facade = *fwbase::IFWBase::instance();
    const Object object;
    facade.global_env()->insert_obj("forgotten", &object);
    facade.global_env()->insert_obj("removed", &object);
    fwbase::IGlobalEnv* session = nullptr;
    facade.create_global_env(session, reinterpret_cast<void*>(0x10));
    session->insert_obj("forgotten", &object);
    return ec::MM_OK;
  }
  void release() override {
    fwbase::IFWBase::instance()->global_env()->rm_obj("removed");
    delete this;
  }
};

}  // namespace

FWBASE_MODULE(Module)
