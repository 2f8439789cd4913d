// Hangs in a static constructor.
#include <fwbase/imm.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/tools/fwmod/faults/faults.h"

namespace {

struct Loading {
  Loading() { hang(); }
};
const Loading loading;

}  // namespace

extern "C" fwbase::IMM::IBase* create_module();
extern "C" fwbase::IMM::IBase* create_module() { return nullptr; }
