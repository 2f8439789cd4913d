// A module that uses the framework and takes everything back.
#include <fwbase/module.h>

namespace {

struct Object : fwbase::IGlobalEnv::IObject {
  IObject* clone() const override { return new Object; }
  void release() override { delete this; }
};

struct Module : fwbase::IMM::IBase {
  ec::EC init(void* arg) override {
    fwbase::IFWBase& facade = *fwbase::IFWBase::instance();
    fwbase::IGlobalEnv& env = *facade.global_env();
    const Object object;
    env.insert_obj("object", &object);
    env.mod_obj("object", &object);
    env.insert_addr("module", this);
    env.insert_str("argument", arg != nullptr ? static_cast<const char*>(arg) : "none");
    fwbase::IGlobalEnv* session = nullptr;
    facade.create_global_env(session, this);
    session->insert_addr("module", this);
    return env.get_str("argument") == "wrong" ? ec::MM_BAD_PARAM : ec::MM_OK;
  }
  void release() override {
    fwbase::IFWBase& facade = *fwbase::IFWBase::instance();
    facade.destroy_global_env(this);
    facade.global_env()->rm_addr("module");
    facade.global_env()->rm_obj("object");
    delete this;
  }
};

}  // namespace

FWBASE_MODULE(Module)
FWBASE_MODULE_AS(Module, create_second)
