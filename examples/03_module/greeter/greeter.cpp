// The module: publishes an IGreeter while it is in service.
#include "greeter.h"

#include <fwbase/module.h>

namespace {

fwbase::IGlobalEnv* environment() { return fwbase::IFWBase::instance()->global_env(); }

class Greeter : public fwbase::IMM::IBase, public IGreeter {
 public:
  // Called by create_module(), with its last argument. A module may use the log, environments, the
  // script engine and data blocks here; the module manager is in the middle of its own work.
  ec::EC init(void* arg) override {
    if (arg == nullptr) {
      FWBASE_LOG(ERROR, "a greeting is required");
      return kNoGreeting;
    }
    m_greeting = static_cast<const char*>(arg);

    IGreeter* const offer = this;
    const ec::EC published = environment()->insert_addr(kGreeterAddress, offer);
    m_published = ec::succeeded(published);
    return m_published ? ec::MM_OK : published;
  }

  // Undoes what init() did, and ends this object. The code may be unloaded next. After a failed
  // init(), the creator of the module calls release(), too.
  void release() override {
    if (m_published) environment()->rm_addr(kGreeterAddress);
    delete this;
  }

  std::string greet(const std::string& name) override {
    FWBASE_TRACE("greet");
    return m_greeting + ", " + name;
  }

 private:
  std::string m_greeting;
  bool m_published = false;
};

}  // namespace

// Exports `extern "C" create_module`, which makes a Greeter.
FWBASE_MODULE(Greeter)
