// Needs another library.
#include <fwbase/imm.h>

extern "C" int needed_function();
extern "C" fwbase::IMM::IBase* create_module();
extern "C" fwbase::IMM::IBase* create_module() {
  return needed_function() == 1 ? nullptr : nullptr;
}
