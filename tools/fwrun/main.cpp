// fwrun: runs sections of a script with the functions of modules.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <new>

#include <optional>

#include "options.h"
#include "output.h"
#include "run.h"

namespace {

// A file that is opened while a standard descriptor is closed would take its number, and what is
// meant for the terminal would end in the log. The descriptor that stands in is open the wrong way
// round, so that using it fails.
void fill_closed_descriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) == -1) {
      // The lowest free number, and so this one, is what open() gives.
      [[maybe_unused]] const int opened =
          open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  fill_closed_descriptors();
  // A reader that went away is an error of writing, which is reported, not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);

  try {
    fwrun::Options options;
    if (const std::optional<int> status = fwrun::parse_options(argc, argv, options)) {
      return *status;
    }
    return fwrun::run(options);
  } catch (const std::bad_alloc&) {
    std::fputs("fwrun: memory ran out\n", stderr);
    return fwrun::kFailed;
  }
}
