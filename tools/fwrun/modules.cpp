#include "modules.h"

#include <fwbase/ifwbase.h>

#include "output.h"
#include "running.h"
#include "support/module_path.h"
#include "support/text.h"

namespace fwrun {

namespace {

using fwbase::IFWBase;
using fwbase::IMM;

const tools::ModuleArgument kGeneralFunctions = {"fwstd"};

std::string shown(const tools::ModuleArgument& module) {
  return "module '" + module.path + ":" + module.function + "'";
}

// The manager leaves a module that did not come into service to its caller.
void dispose_of(IMM::IBase* module, const tools::ModuleArgument& option) {
  if (module == nullptr) {
    return;
  }
  try {
    module->release();
  } catch (...) {
    complain(shown(option) + " could not be released: " + tools::exception_text());
  }
}

void warn_of_errors(const tools::ModuleArgument& module, ErrorLog& errors) {
  for (const std::string& error : errors.take_errors()) {
    complain("warning: " + shown(module) + ": " + error);
  }
}

bool create_module(const tools::ModuleArgument& module, ErrorLog& errors) {
  const std::string path = tools::module_path(module.path);
  const char* const argument = module.argument ? module.argument->c_str() : nullptr;
  const std::string failure = "cannot create " + shown(module);
  IMM::IBase* made = nullptr;
  try {
    const ec::EC created = IFWBase::instance()->mm()->create_module(
        made, path.c_str(), module.function.c_str(), const_cast<char*>(argument));
    if (ec::succeeded(created)) {
      warn_of_errors(module, errors);
      return true;
    }
    report_failure(failure, created, errors);
  } catch (...) {
    report_exception(failure, errors);
  }
  dispose_of(made, module);
  return false;
}

}  // namespace

bool create_modules(const std::vector<tools::ModuleArgument>& modules, ErrorLog& errors) {
  if (!create_module(kGeneralFunctions, errors)) {
    return false;
  }
  for (const tools::ModuleArgument& module : modules) {
    if (!create_module(module, errors)) {
      return false;
    }
  }
  return true;
}

}  // namespace fwrun
