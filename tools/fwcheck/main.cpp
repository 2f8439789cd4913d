// fwcheck: finds what is wrong with scripts, and where.
#include <cxxabi.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>

#include "command_line/standard_descriptors.h"
#include "options.h"
#include "output.h"
#include "run.h"

namespace {

// Not where the caller ignores it, as for a command in the background.
void end_at_interruption() {
  if (std::signal(SIGINT, [](int) { _exit(fwcheck::kInterrupted); }) == SIG_IGN) {
    std::signal(SIGINT, SIG_IGN);
  }
}

}  // namespace

int main(int argc, char** argv) {
  tools::fill_closed_descriptors();
  end_at_interruption();
  // A reader that went away ends the output, not the process.
  std::signal(SIGPIPE, SIG_IGN);
  std::setlocale(LC_CTYPE, "");  // scripts are converted to its code page
  fwcheck::take_standard_output();

  try {
    fwcheck::Options options;
    if (const std::optional<int> status = fwcheck::parse_options(argc, argv, options)) {
      return *status;
    }
    return fwcheck::run(options);
  } catch (const std::bad_alloc&) {
    std::fputs("fwcheck: memory ran out\n", stderr);
    return fwcheck::kNothing;
  } catch (const abi::__forced_unwind&) {  // no other thread could go on
    std::fputs("fwcheck: a module ended the thread of the program, as pthread_exit() does\n",
               stderr);
    std::exit(fwcheck::kNothing);
  }
}
