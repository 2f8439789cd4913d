// fwrun: runs sections of a script with the functions of modules.
#include <cxxabi.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <optional>

#include "command_line/standard_descriptors.h"
#include "host.h"
#include "options.h"
#include "output.h"

int main(int argc, char** argv) {
  tools::fill_closed_descriptors();
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
  } catch (const abi::__forced_unwind&) {  // no other thread could go on
    fwrun::complain(
        "a module or a function ended the thread of the program, as pthread_exit() does");
    std::exit(fwrun::kFailed);
  }
}
