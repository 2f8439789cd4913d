// The creation function gives the same module each time. Its journal, passed to init(), gets a line
// for each call.
#include <fwbase/imm.h>

#include "tests/modules/journal.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void* arg) override {
    journal = static_cast<Journal*>(arg);
    journal->push_back("init");
    return ec::MM_OK;
  }
  void release() override { journal->push_back("release"); }

  Journal* journal = nullptr;
};

Module the_module;

}  // namespace

extern "C" fwbase::IMM::IBase* create_module() { return &the_module; }
extern "C" fwbase::IMM::IBase* create_module_again() { return &the_module; }
