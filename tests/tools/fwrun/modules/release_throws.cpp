// A module that throws as it is released, and others that throw what is no std::exception.
#include <fwbase/module.h>

#include <cstdio>
#include <stdexcept>

namespace {

class Module : public fwbase::IMM::IBase {
 public:
  ec::EC init(void*) override { return ec::MM_OK; }

  [[noreturn]] void release() override {
    std::printf("release is called\n");
    std::fflush(stdout);
    delete this;
    throw std::runtime_error("it will not end");
  }
};

struct FailsAndThrows : Module {
  ec::EC init(void*) override { return 0x00abcdef; }
};

class ThrowsNumber : public fwbase::IMM::IBase {
 public:
  ec::EC init(void*) override { throw 42; }
  void release() override { delete this; }
};

class ThrowsInConstructor : public fwbase::IMM::IBase {
 public:
  ThrowsInConstructor() { throw std::runtime_error("it will not begin"); }
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
FWBASE_MODULE_AS(FailsAndThrows, create_failing)
FWBASE_MODULE_AS(ThrowsNumber, create_throwing_number)
FWBASE_MODULE_AS(ThrowsInConstructor, create_throwing)
