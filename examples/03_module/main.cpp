// 03: a host that creates a module from a library, by path.
//
// usage: module_host PATH [GREETING]
#include <fwbase/fwbase.h>

#include <cstdio>

#include "greeter/greeter.h"

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::IRunLog;

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: module_host PATH [GREETING]\n");
    return 2;
  }
  const char* const path = argv[1];
  char* const greeting = argc > 2 ? argv[2] : nullptr;

  IFWBase* const fw = IFWBase::instance();
  if (ec::failed(fw->init())) return 1;
  fw->runlog()->file("module_host.log");
  fw->runlog()->type(IRunLog::WARN | IRunLog::ERROR);

  // Loads the library, calls its function "create_module", and the module's init() with the
  // greeting. A path without a dot, such as ./greeter, also finds ./libgreeter.so.
  IMM::IBase* module = nullptr;
  const ec::EC created = fw->mm()->create_module(module, path, "create_module", greeting);
  if (ec::failed(created)) {
    // Either a code of the manager, whose reason is in the log, or the code of the module's init().
    if (created == kNoGreeting) {
      std::printf("the greeter wants a greeting\n");
    } else {
      std::printf("%s: %s\n", ec::name(created), ec::text(created));
    }
    // The manager does not keep a module whose init() failed: the host must end it.
    if (module != nullptr) module->release();
    fw->release();
    return 1;
  }

  // The module published what it offers.
  void* const offer = fw->global_env()->get_addr(kGreeterAddress);
  std::printf("%s\n", static_cast<IGreeter*>(offer)->greet("world").c_str());

  // Ends the module. release() would have done so, too; the library stays loaded until then.
  fw->mm()->destroy_module(module);
  std::printf("published: %s\n", fw->global_env()->get_addr(kGreeterAddress) ? "yes" : "no");
  fw->release();
}
