// A module for the server whose init() fails. It records its release().
#include <fwbase/module.h>

namespace {

class InitFails : public fwbase::IMM::IBase {
 public:
  ec::EC init(void*) override { return 0x00abcdef; }
  void release() override {
    FWBASE_LOG(WARN, "released %s", "by the host");
    delete this;
  }
};

}  // namespace

FWBASE_MODULE(InitFails)
