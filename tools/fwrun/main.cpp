// fwrun: runs sections of a script with functions of modules.
#include <optional>

#include "command_line/command.h"
#include "host.h"
#include "options.h"
#include "output.h"

int main(int argc, char** argv) {
  const auto work = [=]() -> int {
    fwrun::Options options;
    if (const std::optional<int> status = fwrun::parse_options(argc, argv, options)) {
      return *status;
    }
    return fwrun::run(options);
  };
  return tools::run_command("fwrun", fwrun::kFailed, work, "a module or a function");
}
