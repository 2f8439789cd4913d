// A module that throws as it is released, others that throw what is no std::exception, and one that
// ends its thread.
#include <fwbase/module.h>
#include <pthread.h>

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

class EndsThread : public fwbase::IMM::IBase {
 public:
  ec::EC init(void*) override { ::pthread_exit(nullptr); }
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
FWBASE_MODULE_AS(EndsThread, create_ending_thread)
FWBASE_MODULE_AS(ThrowsInConstructor, create_throwing)
