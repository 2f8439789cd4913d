// The creation function gives no module.
#include <fwbase/imm.h>

extern "C" fwbase::IMM::IBase* create_module();
extern "C" fwbase::IMM::IBase* create_module() { return nullptr; }
