// A module library with a static object. Constructor and destructor call the function that the
// default environment has under the name "from static objects".
#include <fwbase/module.h>

namespace {

void call_the_host() {
  fwbase::IGlobalEnv* const env = fwbase::IFWBase::instance()->global_env();
  reinterpret_cast<void (*)()>(env->get_addr("from static objects"))();
}

struct StaticObject {
  StaticObject() { call_the_host(); }
  ~StaticObject() { call_the_host(); }
} static_object;

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
