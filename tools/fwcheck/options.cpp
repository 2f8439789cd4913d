#include "options.h"

#include <algorithm>
#include <map>

#include <CLI/CLI.hpp>

#include "command_line/command_pages.h"
#include "command_line/messages.h"
#include "command_line/text.h"
#include "output.h"
#include "warnings.h"

namespace fwcheck {

namespace {

using tools::in_users_language;

const std::map<std::string, Format> kFormats = {
    {"text", Format::kText}, {"json", Format::kJson}, {"sarif", Format::kSarif}};

const std::map<std::string, Print> kPrints = {{"catalogue", Print::kCatalogue},
                                              {"template", Print::kTemplate},
                                              {"xsd", Print::kSchema},
                                              {"markdown", Print::kMarkdown}};

const char* const kFooter =
    "Reads scripts and runs nothing. What is wrong goes to standard output, a line each:\n"
    "FILE:LINE:COLUMN: error|warning: MESSAGE [RULE]\n"
    "\n"
    "Exit status: 0 no error, nor with --strict a warning; 1 findings;\n"
    "2 wrong usage, or a module or a catalogue cannot be loaded.\n"
    "\n"
    "Example: fwcheck --module ./libdoors.so --env visitor door.xml";

// What is typed, before its parts are looked at.
struct Typed {
  std::vector<std::string> modules;
  std::string format = "text";
  std::optional<std::string> print;
};

tools::ModuleArgument module_of(const std::string& text) {
  const std::optional<tools::ModuleArgument> module = tools::parse_module_argument(text);
  if (!module) {
    throw CLI::ValidationError("--module",
                               in_users_language({"'{1}' is not PATH[:FUNCTION][=ARGUMENT]",
                                                  "“{1}”不是 PATH[:FUNCTION][=ARGUMENT]"},
                                                 {text}));
  }
  return *module;
}

template <typename Value>
Value one_of(const char* option, const std::string& text,
             const std::map<std::string, Value>& known) {
  const auto found = known.find(text);
  if (found == known.end()) {
    std::vector<std::string> names;
    for (const auto& entry : known) {
      names.push_back(entry.first);
    }
    throw CLI::ValidationError(option,
                               in_users_language({"'{1}' is not one of {2}", "“{1}”不在其中：{2}"},
                                                 {text, tools::joined(names)}));
  }
  return found->second;
}

void declare(CLI::App& app, Options& options, Typed& typed) {
  app.name("fwcheck");
  app.footer(kFooter);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_version_flag("--version", "fwcheck " FWCHECK_VERSION, "Print the version and exit");
  app.add_option("SCRIPT", options.scripts, "The script files; - is standard input");
  app.add_option("--module", typed.modules,
                 "Compare with the functions of a module of the library PATH, made\n"
                 "by FUNCTION (create_module when not given), whose init() gets\n"
                 "ARGUMENT. Those of the library fwstd are always there")
      ->type_name("PATH[:FUNCTION][=ARGUMENT]")
      ->allow_extra_args(false);
  app.add_option("--catalogue", options.catalogues,
                 "Compare with the functions of this catalogue, as --print catalogue\n"
                 "prints it, and not with those of fwstd")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_flag("--any-function", options.any_function,
               "Believe what the script declares: compare with no function");
  app.add_option("--env", options.environment, "The host sets the variable NAME in the environment")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_option("--format", typed.format, "Of findings: text, json or sarif (default: text)")
      ->type_name("FORMAT");
  app.add_option("--ignore", options.ignored, "Leave out this warning")
      ->type_name("RULE")
      ->allow_extra_args(false);
  app.add_flag("--strict", options.strict, "A warning is a failure, too");
  app.add_option("--print", typed.print,
                 "Check nothing; print the functions as a catalogue, a template, an\n"
                 "xsd (XML Schema) or markdown")
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
    options.modules.push_back(module_of(text));
  }
  options.format = one_of("--format", typed.format, kFormats);
  if (typed.print) {
    options.print = one_of("--print", *typed.print, kPrints);
  }
  for (const std::string& rule : options.ignored) {
    if (!is_warning(rule)) {
      throw CLI::ValidationError("--ignore",
                                 in_users_language({"'{1}' is no warning; the warnings are {2}",
                                                    "“{1}”不是警告；警告有：{2}"},
                                                   {rule, tools::joined(warnings())}));
    }
  }
  if (options.print != Print::kNothing) {
    return;
  }
  if (options.scripts.empty()) {
    throw CLI::ValidationError("SCRIPT", in_users_language({"is required", "必须给出"}));
  }
  if (std::count(options.scripts.begin(), options.scripts.end(), "") != 0) {
    throw CLI::ValidationError("SCRIPT", in_users_language({"must not be empty", "不能为空"}));
  }
  if (std::count(options.scripts.begin(), options.scripts.end(), "-") > 1) {
    throw CLI::ValidationError(
        "SCRIPT", in_users_language({"standard input can be read once", "标准输入只能读一次"}));
  }
}

}  // namespace

std::optional<int> parse_options(int argc, char** argv, Options& options) {
  CLI::App app("Finds what is wrong with scripts, and where.");
  Typed typed;
  declare(app, options, typed);
  if (const std::optional<std::string> page = tools::command_page(app, argc, argv, choices())) {
    return write_out(*page) ? kClean : kNothing;
  }
  try {
    app.parse(argc, argv);
    interpret(typed, options);
    return {};
  } catch (const CLI::CallForHelp&) {
    return write_out(app.help()) ? kClean : kNothing;
  } catch (const CLI::CallForVersion&) {
    return write_out(app.version() + "\n") ? kClean : kNothing;
  } catch (const CLI::ParseError& error) {
    complain_text(error.what());
    complain({"fwcheck --help shows the options", "fwcheck --help 显示全部选项"});
    return kNothing;
  }
}

}  // namespace fwcheck
