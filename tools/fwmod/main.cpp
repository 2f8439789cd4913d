// fwmod: says what is wrong with a module library, and what its module leaves behind.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <system_error>

#include "check.h"
#include "command_line/standard_descriptors.h"
#include "inspection.h"
#include "options.h"

int main(int argc, char** argv) {
  const bool is_inspection = argc > 0 && std::strcmp(argv[0], fwmod::kInspection) == 0;
  tools::fill_closed_descriptors();
  if (!is_inspection) {
    // A reader that went away is an error of writing, which is reported, not the end of the
    // process.
    std::signal(SIGPIPE, SIG_IGN);
  }
  try {
    fwmod::Options options;
    if (const std::optional<int> status = fwmod::parse_options(argc, argv, options)) {
      return *status;
    }
    if (is_inspection) {
      fwmod::run_inspection(options);
    }
    return fwmod::check(options, argv);
  } catch (const std::bad_alloc&) {
    std::fputs("fwmod: memory ran out\n", stderr);
  } catch (const std::system_error& error) {
    fwmod::complain(error.what());
  }
  return fwmod::kNotChecked;
}
