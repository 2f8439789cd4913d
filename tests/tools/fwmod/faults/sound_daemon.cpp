// A daemon of the module ends when the module is released.
#include <fwbase/module.h>

#include <array>

#include "tests/tools/fwmod/faults/daemon.h"

namespace {

// The daemon lives until the other end of the pipe is closed.
class Module : public fwbase::IMM::IBase {
 public:
  ec::EC init(void*) override {
    if (pipe(m_ends.data()) != 0) {
      return ec::MM_BAD_PARAM;
    }
    const pid_t starter = fork();
    if (starter == 0) {
      if (fork() == 0) {
        close(m_ends[1]);
        char end = 0;
        while (read(m_ends[0], &end, 1) > 0) {
        }
      }
      _exit(0);
    }
    close(m_ends[0]);
    waitpid(starter, nullptr, 0);
    return ec::MM_OK;
  }
  void release() override {
    close(m_ends[1]);
    delete this;
  }

 private:
  std::array<int, 2> m_ends = {};
};

}  // namespace

FWBASE_MODULE(Module)
