// The handler only notes the signal.
#include "interruption.h"

#include <csignal>

namespace fwrun {

namespace {

volatile std::sig_atomic_t interruption_came = 0;

}  // namespace

void note_interruption() {
  struct sigaction before {};
  if (sigaction(SIGINT, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) {
    return;
  }
  // Without SA_RESTART, so that system calls that wait return.
  struct sigaction action {};
  action.sa_handler = [](int) { interruption_came = 1; };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
}

bool was_interrupted() { return interruption_came != 0; }

}  // namespace fwrun
