// Creates modules as any host does, and tells what goes wrong on the way.
#include "modules/modules.h"

#include <fwbase/ifwbase.h>

#include "command_line/messages.h"
#include "command_line/text.h"
#include "modules/module_path.h"

namespace tools {

using fwbase::IFWBase;
using fwbase::IMM;

const ModuleArgument kGeneralFunctions = {"fwstd"};

namespace {

std::string shown(const ModuleArgument& module) {
  return in_users_language({"module '{1}:{2}'", "模块“{1}:{2}”"}, {module.path, module.function});
}

// The manager leaves a module that did not come into service to its caller.
void dispose_of(IMM::IBase* module, const ModuleArgument& option, Complain complain) {
  if (module == nullptr) {
    return;
  }
  try {
    module->release();
  } catch (...) {
    complain(in_users_language({"{1} could not be released: {2}", "{1}无法释放：{2}"},
                               {shown(option), exception_text()}));
  }
}

void report(const std::string& what, ErrorLog& errors, Complain complain) {
  complain(what);
  for (const std::string& error : errors.take_errors()) {
    complain("  " + error);
  }
}

bool create_module(const ModuleArgument& module, ErrorLog& errors, Complain complain) {
  const std::string path = module_path(module.path);
  const char* const argument = module.argument ? module.argument->c_str() : nullptr;
  const std::string failure =
      in_users_language({"cannot create {1}", "无法创建{1}"}, {shown(module)});
  IMM::IBase* made = nullptr;
  try {
    const ec::EC created = IFWBase::instance()->mm()->create_module(
        made, path.c_str(), module.function.c_str(), const_cast<char*>(argument));
    if (ec::succeeded(created)) {
      for (const std::string& error : errors.take_errors()) {
        complain(
            in_users_language({"warning: {1}: {2}", "警告：{1}：{2}"}, {shown(module), error}));
      }
      return true;
    }
    report_failure(failure, created, errors, complain);
  } catch (...) {
    report_exception(failure, errors, complain);
  }
  dispose_of(made, module, complain);
  return false;
}

}  // namespace

bool create_modules(const std::vector<ModuleArgument>& modules, ErrorLog& errors,
                    Complain complain) {
  for (const ModuleArgument& module : modules) {
    if (!create_module(module, errors, complain)) {
      return false;
    }
  }
  return true;
}

void report_failure(const std::string& what, ec::EC code, ErrorLog& errors, Complain complain) {
  report(what + ": " + described(code), errors, complain);
}

void report_exception(const std::string& what, ErrorLog& errors, Complain complain) {
  report(what + ": " + exception_text(), errors, complain);
}

}  // namespace tools
