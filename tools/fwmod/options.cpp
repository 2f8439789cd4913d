// Declares the options to CLI11, which parses them and writes --help.
#include "options.h"

#include <CLI/CLI.hpp>

#include "command_line/command.h"
#include "command_line/parsing.h"

namespace fwmod {

namespace {

const char* const kFooter =
    "fwmod looks for PATH without a directory beside itself, among the installed modules and in\n"
    "the loader's search path. FUNCTION is the creation function (default: create_module).\n"
    "--exercise passes ARGUMENT to init() as a const char*; without ARGUMENT, null.\n"
    "\n"
    "The library runs in a process of its own, and what it prints goes to standard error. In the\n"
    "end fwmod kills that process and all that it has started. This is no sandbox against malice:\n"
    "the library has all rights of the user who runs fwmod.\n"
    "\n"
    "Exit status: 0 sound; 1 faulty; 2 wrong usage, or the check cannot be made;\n"
    "3 sound, but the module left something behind: so does every module with script functions.\n"
    "\n"
    "Example: fwmod --exercise ./libcounter.so:create_counter=counter.conf";

}  // namespace

std::optional<int> parse_options(int argc, char** argv, Options& options) {
  CLI::App app("Checks a module library, and with --exercise its module.");
  std::string library;
  tools::name_command(app, "fwmod", "--help");
  app.footer(kFooter);
  app.add_option("PATH", library, "The library: PATH[:FUNCTION][=ARGUMENT]")->required();
  app.add_flag("--exercise", options.exercise,
               "Also create, initialise and release the module, and one module of a\n"
               "factory, and list what is left behind");
  app.add_option("--timeout", options.timeout,
                 "Kill the library's process after SECONDS (default: 10)")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400));
  const auto write = [](const std::string& text) { return write_out(text, kSound); };
  return tools::parse(app, argc, argv, {}, write, [&] {
    options.module = tools::module_of("PATH", library);
    if (options.module.argument && !options.exercise) {
      tools::refuse("PATH",
                    {"an ARGUMENT goes with --exercise only", "ARGUMENT 只能与 --exercise 同用"});
    }
  });
}

Status write_out(const std::string& text, Status status) {
  return tools::write_out(text) ? status : kNotChecked;
}

}  // namespace fwmod
