// Creates modules as any host does, and complains about what goes wrong.
#include "modules/modules.h"

#include <fwbase/ifwbase.h>

#include "command_line/command.h"
#include "command_line/result_code.h"
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
void dispose_of(IMM::IBase* module, const ModuleArgument& option) {
  if (module == nullptr) {
    return;
  }
  try {
    module->release();
  } catch (...) {
    complain({"{1} could not be released: {2}", "{1}无法释放：{2}"},
             {shown(option), exception_text()});
  }
}

void report(const std::string& what, ErrorLog& errors) {
  complain_text(what);
  for (const std::string& error : errors.take_errors()) {
    complain_text("  " + error);
  }
}

bool create_module(const ModuleArgument& module, ErrorLog& errors) {
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
        complain({"warning: {1}: {2}", "警告：{1}：{2}"}, {shown(module), error});
      }
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

bool start_library() {
  const ec::EC started = IFWBase::instance()->init();
  if (ec::failed(started)) {
    complain({"cannot start the library: {1}", "无法启动库：{1}"}, {described(started)});
  }
  return ec::succeeded(started);
}

// After a module has thrown, the facade's next release() goes on with the module behind it.
bool Library::release() {
  for (bool all_released = true;; all_released = false) {
    try {
      IFWBase::instance()->release();
      return all_released;
    } catch (...) {
      complain({"a module could not be released: {1}", "一个模块无法释放：{1}"},
               {exception_text()});
    }
  }
}

bool create_modules(const std::vector<ModuleArgument>& modules, ErrorLog& errors) {
  for (const ModuleArgument& module : modules) {
    if (!create_module(module, errors)) {
      return false;
    }
  }
  return true;
}

void report_failure(const std::string& what, ec::EC code, ErrorLog& errors) {
  report(what + ": " + described(code), errors);
}

void report_exception(const std::string& what, ErrorLog& errors) {
  report(what + ": " + exception_text(), errors);
}

}  // namespace tools
