// Cannot be loaded: it needs a variable that nobody has.
#include <fwbase/imm.h>

extern int variable_that_nobody_has;
int* needed = &variable_that_nobody_has;

extern "C" fwbase::IMM::IBase* create_module() { return nullptr; }
