// Replacing the script of the built-in engine.
#include <fwbase/reload.h>

#include "fwbase/cfwbase.h"

namespace fwbase {

ec::EC reload_script(const char* path, std::vector<Finding>* findings) {
  return static_cast<CFWBase*>(IFWBase::instance())
      ->built_in_script()
      .reload_script(path, findings);
}

}  // namespace fwbase
