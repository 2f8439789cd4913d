// The creation function is not declared extern "C".
#include <fwbase/imm.h>

fwbase::IMM::IBase* create_module();
fwbase::IMM::IBase* create_module() { return nullptr; }
