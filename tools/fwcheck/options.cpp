// Declares the options to CLI11, which parses them and writes --help; then interprets the values.
#include "options.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "command_line/parsing.h"
#include "command_line/text.h"
#include "output.h"
#include "warnings.h"

namespace fwcheck {

namespace {

using tools::refuse;

// Sorted, as messages list them.
const tools::Words<Format> kFormats = {
    {"json", Format::kJson}, {"sarif", Format::kSarif}, {"text", Format::kText}};

const tools::Words<Print> kPrints = {{"catalogue", Print::kCatalogue},
                                     {"markdown", Print::kMarkdown},
                                     {"template", Print::kTemplate},
                                     {"xsd", Print::kSchema}};

const char* const kFooter =
    "Reads scripts and runs nothing. Prints each finding on a line of standard output:\n"
    "FILE:LINE:COLUMN: error|warning: MESSAGE [RULE]\n"
    "\n"
    "Exit status: 0 no error, and with --strict no warning; 1 findings;\n"
    "2 wrong usage, or a module or catalogue cannot be loaded.\n"
    "\n"
    "Example: fwcheck --module ./libdoors.so --env visitor door.xml";

// Values as typed.
struct Typed {
  std::vector<std::string> modules;
  std::string format = "text";
  std::optional<std::string> print;
};

void declare(CLI::App& app, Options& options, Typed& typed) {
  tools::name_command(app, "fwcheck", "-h,--help");
  app.footer(kFooter);
  app.add_option("SCRIPT", options.scripts, "The script files; - is standard input");
  app.add_option("--module", typed.modules,
                 "Compare with the functions of a module, which FUNCTION (default:\n"
                 "create_module) of the library PATH creates. ARGUMENT is for its\n"
                 "init(). The functions of the library fwstd are always there")
      ->type_name("PATH[:FUNCTION][=ARGUMENT]")
      ->allow_extra_args(false);
  app.add_option("--catalogue", options.catalogues,
                 "Compare with the functions of this catalogue, which --print\n"
                 "catalogue prints, instead of those of fwstd")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_flag("--any-function", options.any_function,
               "Believe what the script declares, and compare it with no function");
  app.add_option("--env", options.environment, "The host sets the variable NAME of the environment")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_option("--format", typed.format, "Print findings as text, json or sarif (default: text)")
      ->type_name("FORMAT");
  app.add_option("--ignore", options.ignored, "Leave out this warning")
      ->type_name("RULE")
      ->allow_extra_args(false);
  app.add_flag("--strict", options.strict, "Treat warnings as failures");
  app.add_option("--print", typed.print,
                 "Check nothing; print the functions as catalogue, template, xsd (XML\n"
                 "Schema) or markdown")
      ->type_name("FORM");
}

// What shells complete beside options and files.
std::vector<tools::Choice> choices() {
  std::string rules;
  for (const std::string& rule : warnings()) {
    rules += rule + " ";
  }
  return {{"--format", "text json sarif"},
          {"--print", "catalogue template xsd markdown"},
          {"--ignore", rules}};
}

void interpret(const Typed& typed, Options& options) {
  for (const std::string& text : typed.modules) {
    options.modules.push_back(tools::module_of("--module", text));
  }
  options.format = tools::one_of("--format", typed.format, kFormats);
  if (typed.print) {
    options.print = tools::one_of("--print", *typed.print, kPrints);
  }
  for (const std::string& rule : options.ignored) {
    if (!is_warning(rule)) {
      refuse("--ignore",
             {"'{1}' is no warning; the warnings are {2}", "“{1}”不是警告；警告有：{2}"},
             {rule, tools::joined(warnings())});
    }
  }
  if (options.print != Print::kNothing) {
    return;
  }
  if (options.scripts.empty()) {
    refuse("SCRIPT", {"is required", "必须给出"});
  }
  if (std::count(options.scripts.begin(), options.scripts.end(), "") != 0) {
    refuse("SCRIPT", {"must not be empty", "不能为空"});
  }
  if (std::count(options.scripts.begin(), options.scripts.end(), "-") > 1) {
    refuse("SCRIPT", {"standard input can be read once", "标准输入只能读一次"});
  }
}

}  // namespace

std::optional<int> parse_options(int argc, char** argv, Options& options) {
  CLI::App app("Finds mistakes in scripts, with their places.");
  Typed typed;
  declare(app, options, typed);
  const auto write = [](const std::string& text) { return write_out(text) ? kClean : kNothing; };
  return tools::parse(app, argc, argv, choices(), write, [&] { interpret(typed, options); });
}

}  // namespace fwcheck
