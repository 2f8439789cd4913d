// The interfaces of all components.
#ifndef FWBASE_FWBASE_H
#define FWBASE_FWBASE_H

#include <fwbase/ec.h>
#include <fwbase/idata_block.h>
#include <fwbase/ifwbase.h>
#include <fwbase/iglobal_env.h>
#include <fwbase/imm.h>
#include <fwbase/irunlog.h>
#include <fwbase/iscript.h>

#endif
