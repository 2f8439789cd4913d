// A thread of the module lets an exception out.
#include <fwbase/module.h>

#include <stdexcept>
#include <thread>

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override {
    std::thread([] { throw std::runtime_error("connection lost"); }).join();
    delete this;
  }
};

}  // namespace

FWBASE_MODULE(Module)
