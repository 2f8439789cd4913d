// From the start of a host to its end, with the library loaded in between.
#include "inspection.h"

#include <dlfcn.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>

#include "child_process.h"
#include "exercise.h"
#include "loading.h"
#include "process_state.h"
#include "recorded_facade.h"
#include "support/text.h"

namespace fwmod {

namespace {

constexpr char kInspect[] = "--inspect-in-child";
constexpr int kFixedArguments = 5;  // the program, kInspect, its parent, flags, the function

std::string flags_of(const Request& request) {
  return std::string(request.exercise ? "e" : "") + (request.argument ? "a" : "");
}

Request request_of(int argc, char** argv) {
  Request request;
  const std::string flags = argv[3];
  request.exercise = flags.find('e') != flags.npos;
  request.function = argv[4];
  int next = kFixedArguments;
  if (flags.find('a') != flags.npos && next < argc) {
    request.argument = argv[next++];
  }
  request.files.assign(argv + next, argv + argc);
  return request;
}

// For exceptions that nobody catches, in whatever thread.
Findings* terminating = nullptr;

[[noreturn]] void report_uncaught() {
  if (std::current_exception() != nullptr) {
    terminating->fault("ends by std::terminate() " + terminating->place() + ": nothing catches " +
                       current_exception_text());
  }
  std::abort();
}

void start_facade(Findings& findings) {
  const ec::EC started = plain_facade()->init();
  if (ec::failed(started)) {
    findings.fault("fwbase itself cannot start: " + tools::described(started));
  }
}

// As a host ends: modules are unloaded, then everything else is released.
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

void inspect(const Request& request, Findings& findings) {
  start_facade(findings);
  fwbase::IMM& manager = *plain_facade()->mm();
  RecordedFacade facade(findings);
  const Library library = open_library(request.files, findings);
  require_creation_function(library, findings);
  const bool needs_code =
      request.exercise && exercise(library, manager, request.argument, facade, findings);
  if (!needs_code) {
    stop(library, findings);
  }
  list_processes(findings);
  findings.step(Step::kDone);
  // Without a word of the program's own exit handlers, or of the library's that are left.
  _exit(0);
}

}  // namespace

std::vector<std::string> inspection_arguments(const Request& request) {
  std::vector<std::string> arguments = {kInspect, flags_of(request), request.function};
  if (request.argument) {
    arguments.push_back(*request.argument);
  }
  arguments.insert(arguments.end(), request.files.begin(), request.files.end());
  return arguments;
}

bool is_inspection(int argc, char** argv) {
  return argc >= kFixedArguments && std::strcmp(argv[1], kInspect) == 0;
}

void run_inspection(int argc, char** argv) {
  end_with_parent(std::atoi(argv[2]));
  prctl(PR_SET_NAME, "fwmod");
  Report* const report = map_report(kSharedDescriptor);
  if (report == nullptr) {
    _exit(1);
  }
  close(kSharedDescriptor);
  const Request request = request_of(argc, argv);
  Findings findings(*report, request.function);
  terminating = &findings;  // cppcheck-suppress danglingLifetime  ; this does not return
  std::set_terminate(report_uncaught);
  inspect(request, findings);
  std::abort();  // not reached
}

}  // namespace fwmod
