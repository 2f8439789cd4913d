// fwcheck: finds mistakes in scripts, with their places.
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <optional>

#include "command_line/command.h"
#include "options.h"
#include "output.h"
#include "run.h"

namespace {

// Unless the caller ignores it, as for a command in the background.
void end_at_interruption() {
  if (std::signal(SIGINT, [](int) { _exit(fwcheck::kInterrupted); }) == SIG_IGN) {
    std::signal(SIGINT, SIG_IGN);
  }
}

}  // namespace

int main(int argc, char** argv) {
  return tools::run_command("fwcheck", fwcheck::kNothing, [=]() -> int {
    end_at_interruption();
    std::setlocale(LC_CTYPE, "");  // scripts are converted to its code page
    fwcheck::take_standard_output();
    fwcheck::Options options;
    if (const std::optional<int> status = fwcheck::parse_options(argc, argv, options)) {
      return *status;
    }
    return fwcheck::run(options);
  });
}
