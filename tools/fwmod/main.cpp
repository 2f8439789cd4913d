// fwmod: says what is wrong with a module library, and what its module leaves behind.
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <optional>
#include <system_error>

#include "check.h"
#include "inspection.h"
#include "options.h"
#include "support/standard_descriptors.h"

int main(int argc, char** argv) {
  if (fwmod::is_inspection(argc, argv)) {
    fwmod::run_inspection(argc, argv);
  }
  tools::fill_closed_descriptors();
  // A reader that went away is an error of writing, which is reported, not the end of the process.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    fwmod::Options options;
    if (const std::optional<int> status = fwmod::parse_options(argc, argv, options)) {
      return *status;
    }
    return fwmod::check(options);
  } catch (const std::bad_alloc&) {
    std::fputs("fwmod: memory ran out\n", stderr);
  } catch (const std::system_error& error) {
    fwmod::complain(error.what());
  }
  return fwmod::kNotChecked;
}
