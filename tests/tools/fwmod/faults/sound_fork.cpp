// A child process of the module logs an error of its own and ends well; the module waits for it.
#include <fwbase/module.h>

#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Module : fwbase::IMM::IBase {
  ec::EC init(void*) override {
    const pid_t child = fork();
    if (child == 0) {
      FWBASE_LOG(ERROR, "%s", "logged by the child");
      _exit(0);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0 ? ec::MM_OK : ec::MM_BAD_PARAM;
  }
  void release() override { delete this; }
};

}  // namespace

FWBASE_MODULE(Module)
