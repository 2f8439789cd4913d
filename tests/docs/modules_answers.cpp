// A module that calls a function which other libraries have, too: init() writes its answer to arg.
#include <fwbase/module.h>

int answer() { return ANSWER; }

namespace {

class Answers : public fwbase::IMM::IBase {
 public:
  ec::EC init(void* arg) override {
    *static_cast<int*>(arg) = answer();
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Answers)
