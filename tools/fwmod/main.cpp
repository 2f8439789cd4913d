// fwmod: finds mistakes in a module library, and what its module leaves behind.
#include <cstring>
#include <optional>

#include "check.h"
#include "command_line/command.h"
#include "inspection.h"
#include "options.h"

int main(int argc, char** argv) {
  return tools::run_command("fwmod", fwmod::kNotChecked, [=]() -> int {
    fwmod::Options options;
    if (const std::optional<int> status = fwmod::parse_options(argc, argv, options)) {
      return *status;
    }
    if (std::strcmp(argv[0], fwmod::kInspection) == 0) {
      fwmod::run_inspection(options);
    }
    return fwmod::check(options, argv);
  });
}
