// Calls a function that no library has.
#include <fwbase/imm.h>

namespace nobody {
int has(int number);
}

extern "C" fwbase::IMM::IBase* create_module();
extern "C" fwbase::IMM::IBase* create_module() { return nobody::has(1) == 1 ? nullptr : nullptr; }
