// The handler only notes the signal.
#include "interruption.h"

#include <csignal>

namespace fwrun {

namespace {

volatile std::sig_atomic_t interruption_came = 0;

void note(int signal) {
  struct sigaction before {};
  if (sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) {
    return;
  }
  // Without SA_RESTART, so that system calls that wait return.
  struct sigaction action {};
  action.sa_handler = [](int) { interruption_came = 1; };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void note_interruption() { note(SIGINT); }

void note_termination() { note(SIGTERM); }

bool was_interrupted() { return interruption_came != 0; }

}  // namespace fwrun
