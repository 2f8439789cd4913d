#include "options.h"

#include <CLI/CLI.hpp>

#include "output.h"

namespace fwmod {

namespace {

const char* const kFooter =
    "PATH without a directory is looked for beside fwmod, among the installed modules and in the\n"
    "loader's search path. FUNCTION is the creation function, create_module when not given;\n"
    "ARGUMENT is what --exercise hands to init() as a const char*, null when not given.\n"
    "\n"
    "The library runs in a process of its own. What it writes goes to standard error.\n"
    "\n"
    "Exit status: 0 sound; 1 faulty; 2 wrong usage, or the check cannot be made;\n"
    "3 sound, but the module left something behind.\n"
    "\n"
    "Example: fwmod --exercise ./libcounter.so:create_counter=counter.conf";

// What follows the first '=' is the argument. The function stands behind the last colon of the file
// name: directories may have colons, and a file name with one needs a function behind it.
void split(const std::string& text, Options& options) {
  const std::size_t equals = text.find('=');
  if (equals != text.npos) {
    options.argument = text.substr(equals + 1);
  }
  const std::string left = text.substr(0, equals);
  const std::size_t file = left.rfind('/') + 1;  // 0 without a directory
  const std::size_t colon = left.rfind(':');
  const bool has_function = colon != left.npos && colon >= file;
  options.library = has_function ? left.substr(0, colon) : left;
  if (has_function) {
    options.function = left.substr(colon + 1);
  }
  if (options.library.empty() || options.function.empty()) {
    throw CLI::ValidationError("PATH", "'" + text + "' is not PATH[:FUNCTION][=ARGUMENT]");
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
  try {
    app.parse(argc, argv);
    split(library, options);
    if (options.argument && !options.exercise) {
      throw CLI::ValidationError("PATH", "an ARGUMENT goes with --exercise only");
    }
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

}  // namespace fwmod
