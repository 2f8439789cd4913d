// The module's init() fails with a code of its own; release() deletes the module.
#include <fwbase/imm.h>

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return 0x00abcdef; }
  void release() override { delete this; }
};

}  // namespace

extern "C" fwbase::IMM::IBase* create_module() { return new Module; }
