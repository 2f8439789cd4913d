// The creation function gives a new module each time; release() deletes it. Its journal, passed to
// init(), gets a line for each.
#include <fwbase/imm.h>

#include "tests/modules/journal.h"

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void* arg) override {
    journal = static_cast<Journal*>(arg);
    journal->push_back("init");
    return ec::MM_OK;
  }
  void release() override {
    journal->push_back("release");
    delete this;
  }

  Journal* journal = nullptr;
};

}  // namespace

extern "C" fwbase::IMM::IBase* create_module() { return new Module; }
