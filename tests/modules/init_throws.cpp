// The module's init() throws; release() deletes the module.
#include <fwbase/imm.h>

#include <stdexcept>

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { throw std::runtime_error("init of a library's module"); }
  void release() override { delete this; }
};

}  // namespace

extern "C" fwbase::IMM::IBase* create_module() { return new Module; }
