// Runs a host from its start to its end, with the library loaded in between.
#include "inspection.h"

#include <dlfcn.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>

#include "child_process.h"
#include "command_line/result_code.h"
#include "command_line/text.h"
#include "exercise.h"
#include "loading.h"
#include "process_state.h"
#include "recorded_facade.h"

namespace fwmod {

namespace {

// For exceptions that nothing catches, in any thread.
Findings* terminating = nullptr;

[[noreturn]] void report_uncaught() {
  if (std::current_exception() != nullptr) {
    terminating->fault("ends by std::terminate() " + terminating->place() + ": nothing catches " +
                       current_exception_text());
  }
  std::abort();
}

// Ends as a host does: unloads modules, then releases everything else.
void stop(const Library& library, Findings& findings) {
  findings.step(Step::kUnloading);
  try {
    {
      const ManagerLock lock;
      dlclose(library.handle);
    }
    plain_facade()->release();
  } catch (...) {
    findings.exception();
  }
}

void list_processes(Findings& findings) {
  if (has_child_process()) {
    findings.left("child process: nobody has waited for its end; do so in release()");
  }
  for (const std::string& name : running_orphans()) {
    findings.left("process " + tools::quoted(tools::readable(name)) +
                  ": it still runs, as a daemon; end it in release()");
  }
}

void inspect(const Options& options, Findings& findings) {
  const ec::EC started = plain_facade()->init();
  if (ec::failed(started)) {
    findings.fault("fwbase itself cannot start: " + tools::described(started));
  }
  fwbase::IMM& manager = *plain_facade()->mm();
  RecordedFacade facade(findings);
  const Library library = open_library(options.module.path, findings);
  const bool needs_code =
      options.exercise && exercise(library, manager, options.module.argument, facade, findings);
  if (!needs_code) {
    stop(library, findings);
  }
  list_processes(findings);
  findings.step(Step::kDone);
  // Without exit handlers, of this program or of the library.
  _exit(0);
}

}  // namespace

void run_inspection(const Options& options) noexcept {
  prctl(PR_SET_NAME, "fwmod");
  std::signal(SIGPIPE, SIG_DFL);  // as hosts start with it
  Report* const report = SharedMemory<Report>::map(kSharedDescriptor);
  if (report == nullptr) {
    _exit(1);
  }
  close(kSharedDescriptor);
  Findings findings(*report, options.module.function);
  terminating = &findings;  // cppcheck-suppress danglingLifetime  ; this does not return
  std::set_terminate(report_uncaught);
  inspect(options, findings);
  std::abort();  // not reached
}

}  // namespace fwmod
