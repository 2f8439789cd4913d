// A host in which the handlers of fork() cannot be registered at first, for want of memory: the
// next init() registers them, and a child can log more than the queue takes.
#include <dlfcn.h>
#include <fwbase/fwbase.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "tests/harness/temp_dir.h"

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;

constexpr int kRecords = 200;            // more than the queue takes
constexpr unsigned int kPatience = 120;  // seconds until a child that hangs is ended

bool refuse = false;  // the next one

void require(bool good, const char* what) {
  if (!good) {
    std::fprintf(stderr, "fork_without_memory: %s\n", what);
    std::_Exit(1);
  }
}

}  // namespace

// What pthread_atfork() calls, in the C library.
extern "C" int __register_atfork(void (*prepare)(), void (*parent)(), void (*child)(),
                                 void* library) {
  if (std::exchange(refuse, false)) {
    return ENOMEM;
  }
  using Register = int(void (*)(), void (*)(), void (*)(), void*);
  auto* const real = reinterpret_cast<Register*>(::dlsym(RTLD_NEXT, "__register_atfork"));
  return real(prepare, parent, child, library);
}

int main() {
  const fwbase::test::TempDir directory;
  const std::string path = directory.path("log");
  refuse = true;
  IFWBase* const facade = IFWBase::instance();
  require(!refuse, "the handlers were not asked for");
  require(ec::succeeded(facade->init()), "init()");
  require(ec::succeeded(facade->runlog()->file(path.c_str())), "file()");
  facade->runlog()->asynch(true);
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(kPatience);
    for (int i = 0; i < kRecords; ++i) {
      facade->runlog()->write(IRunLog::WARN, "record", "");
    }
    ::_exit(0);
  }
  int status = -1;
  require(child > 0 && ::waitpid(child, &status, 0) == child && status == 0, "the child failed");
  facade->release();
  const std::string text = fwbase::test::read_file(path);
  int records = 0;
  for (std::size_t at = 0; (at = text.find(">record\n", at)) != std::string::npos; ++at) {
    ++records;
  }
  require(records == kRecords, "records are missing");
  return 0;
}
