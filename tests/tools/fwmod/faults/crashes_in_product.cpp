// The argument tells where the factory's module crashes.
#include <fwbase/module.h>

#include <cstring>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

const char* place = nullptr;

void crash_in(const char* here) {
  if (std::strcmp(here, place) == 0) {
    crash();
  }
}

struct Product : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    crash_in("init");
    return ec::MM_OK;
  }
  void release() override { crash_in("release"); }
};

struct Factory : fwbase::IMM::IFactory {
  ec::EC init(void* arg) override {
    place = static_cast<const char*>(arg);
    return ec::MM_OK;
  }
  void release() override { delete this; }
  IBase* create() override {
    crash_in("create");
    return new Product;
  }
  void destroy(IBase* module) override { delete module; }
};

}  // namespace

FWBASE_MODULE(Factory)
