// Leaves a descriptor open and a child process running, whose number it prints.
#include <fwbase/module.h>

#include <fcntl.h>

#include <cstdio>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    // cppcheck-suppress leakReturnValNotUsed  ; it is to be left open
    if (open("/dev/zero", O_RDONLY) < 0) {
      return ec::MM_BAD_PARAM;
    }
    const pid_t child = fork();
    if (child == 0) {
      hang();
    }
    std::printf("%d\n", child);
    std::fflush(stdout);
    return child > 0 ? ec::MM_OK : ec::MM_BAD_PARAM;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
