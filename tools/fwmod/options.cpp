// Options are declared to CLI11, which also writes --help.
#include "options.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "command_line/command_pages.h"
#include "command_line/text.h"

namespace fwmod {

namespace {

const char* const kFooter =
    "PATH without a directory is looked for beside fwmod, among the installed modules and in the\n"
    "loader's search path. FUNCTION is the creation function, create_module when not given;\n"
    "ARGUMENT is what --exercise hands to init() as a const char*, null when not given.\n"
    "\n"
    "The library runs in a process of its own, which is killed at the end with all that it has\n"
    "started. What it writes goes to standard error. That is no sandbox against malice: its code\n"
    "has all rights of whoever runs fwmod.\n"
    "\n"
    "Exit status: 0 sound; 1 faulty; 2 wrong usage, or the check cannot be made;\n"
    "3 sound, but the module left something behind: so does every module with script functions.\n"
    "\n"
    "Example: fwmod --exercise ./libcounter.so:create_counter=counter.conf";

void interpret(const std::string& text, Options& options) {
  const std::optional<tools::ModuleArgument> module = tools::parse_module_argument(text);
  if (!module) {
    throw CLI::ValidationError("PATH", "'" + text + "' is not PATH[:FUNCTION][=ARGUMENT]");
  }
  options.module = *module;
  if (module->argument && !options.exercise) {
    throw CLI::ValidationError("PATH", "an ARGUMENT goes with --exercise only");
  }
}

}  // namespace

std::optional<int> parse_options(int argc, char** argv, Options& options) {
  CLI::App app("Checks a module library, and with --exercise its module.");
  std::string library;
  app.name("fwmod");
  app.footer(kFooter);
  app.set_help_flag("--help", "Print this help and exit");
  app.set_version_flag("--version", "fwmod " FWMOD_VERSION, "Print the version and exit");
  app.add_option("PATH", library, "The library: PATH[:FUNCTION][=ARGUMENT]")->required();
  app.add_flag("--exercise", options.exercise,
               "Also create, initialise and release the module, and of a factory one\n"
               "more module, and list what is left behind");
  app.add_option("--timeout", options.timeout, "Kill the library's process after SECONDS (10)")
      ->type_name("SECONDS")
      ->check(CLI::Range(1, 86400));
  if (const std::optional<std::string> page = tools::command_page(app, argc, argv)) {
    return write_out(*page, kSound);
  }
  try {
    app.parse(argc, argv);
    interpret(library, options);
    return {};
  } catch (const CLI::CallForHelp&) {
    return write_out(app.help(), kSound);
  } catch (const CLI::CallForVersion&) {
    return write_out(app.version() + "\n", kSound);
  } catch (const CLI::ParseError& error) {
    complain(error.what());
    complain("fwmod --help shows the options");
    return kNotChecked;
  }
}

Status write_out(const std::string& text, Status status) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    complain(std::string("cannot write to standard output: ") + std::strerror(errno));
    return kNotChecked;
  }
  return status;
}

void complain(const std::string& message) {
  const std::string line = "fwmod: " + tools::escaped(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace fwmod
