// The module library. Its module registers the general functions, so that scripts may call them.
#include <fwbase/module.h>

#include "fwstd/functions.h"

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

class StandardFunctions : public fwbase::IMM::IBase {
 public:
  /// There is nothing to set: the argument is ignored.
  ec::EC init(void*) override {
    IScript* const engine = IFWBase::instance()->script();
    if (engine == nullptr) {
      FWBASE_LOG(ERROR, "fwstd: there is no script engine to register functions with");
      return ec::SCRIPT_NO_RULE;
    }
    fwstd::Function* const refused = fwstd::register_functions(*engine);
    if (refused != nullptr) {
      FWBASE_LOG(ERROR, "fwstd: the script engine refuses the function '%s'", refused->name());
      return ec::SCRIPT_NO_RULE;
    }
    return ec::MM_OK;
  }

  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(StandardFunctions)
