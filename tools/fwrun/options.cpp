#include "options.h"

#include <charconv>
#include <map>
#include <string_view>
#include <utility>

#include <fwbase/irunlog.h>
#include <CLI/CLI.hpp>

#include "command_line/command_pages.h"
#include "command_line/messages.h"
#include "command_line/text.h"
#include "output.h"

namespace fwrun {

using tools::joined;

namespace {

using tools::in_users_language;

using fwbase::IRunLog;

typedef std::map<std::string, unsigned int> Bits;

const Bits kLevels = {{"trace", IRunLog::TRACE},
                      {"debug", IRunLog::DEBUG},
                      {"warn", IRunLog::WARN},
                      {"error", IRunLog::ERROR},
                      {"alert", IRunLog::ALERT},
                      {"dump", IRunLog::DUMP},
                      {"all", 0x3F}};
constexpr unsigned int kDefaultLevels =
    IRunLog::WARN | IRunLog::ERROR | IRunLog::ALERT | IRunLog::DUMP;

const Bits kDetails = {
    {"time", IRunLog::INFO_TIME}, {"pid", IRunLog::INFO_PID}, {"tid", IRunLog::INFO_TID}};

const char* const kFooter =
    "Without SECTION the only one is run; of a script with several, one must be named.\n"
    "\n"
    "Exit status: 0 done; 1 a call failed, a result could not be saved or written, or a module\n"
    "threw as it was released;\n"
    "2 wrong usage, or a module or the script cannot be loaded: nothing was run;\n"
    "130 interrupted.\n"
    "\n"
    "Example: fwrun --log run.log --level warn,error --set limit=80 --save script.xml check\n"
    "fwlog run.log shows the log.";

const std::map<std::string, fwbase::LogOptions::WhenFull> kWhenFull = {
    {"wait", fwbase::LogOptions::kWait},
    {"drop-new", fwbase::LogOptions::kDropNew},
    {"drop-below", fwbase::LogOptions::kDropBelow}};

// The bits of a comma-separated list of names, in upper or lower case.
unsigned int bits_of(const char* option, const std::string& list, const Bits& known) {
  unsigned int bits = 0;
  for (const std::string& name : CLI::detail::split(list, ',')) {
    const auto found = known.find(CLI::detail::to_lower(name));
    if (found == known.end()) {
      std::vector<std::string> names;
      for (const auto& entry : known) {
        names.push_back(entry.first);
      }
      throw CLI::ValidationError(
          option, in_users_language({"'{1}' is not one of {2}", "“{1}”不在其中：{2}"},
                                    {name, joined(names)}));
    }
    bits |= found->second;
  }
  return bits;
}

bool looks_like_int(std::string_view text) {
  if (!text.empty() && text.front() == '-') {
    text.remove_prefix(1);
  }
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

std::int32_t int_of(const char* option, const std::string& name, const std::string& text) {
  std::int32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error == std::errc::result_out_of_range) {
    throw CLI::ValidationError(
        option, in_users_language(
                    {"the value of {1} does not fit in 32 bits; write {1}:string={2} for a string",
                     "{1} 的值超出 32 位；若是字符串，请写 {1}:string={2}"},
                    {name, text}));
  }
  if (error != std::errc() || stop != end) {
    throw CLI::ValidationError(option, in_users_language({"'{1}', the value of {2}, is not an int",
                                                          "{2} 的值“{1}”不是整数"},
                                                         {text, name}));
  }
  return number;
}

// A number from `least` on; nothing when the option is not given.
template <typename Number>
void take_number(const char* option, const std::string& text, Number least, Number& number) {
  if (text.empty()) {
    return;
  }
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < least) {
    throw CLI::ValidationError(
        option, in_users_language({"'{1}' is not a number from {2} on", "“{1}”不是不小于 {2} 的数"},
                                  {text, std::to_string(least)}));
  }
}

fwbase::LogOptions::WhenFull when_full_of(const std::string& text) {
  const auto found = kWhenFull.find(text);
  if (found == kWhenFull.end()) {
    throw CLI::ValidationError("--when-full",
                               in_users_language({"'{1}' is not one of {2}", "“{1}”不在其中：{2}"},
                                                 {text, "wait, drop-new, drop-below"}));
  }
  return found->second;
}

Assignment assignment_of(const char* option, const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::string left = text.substr(0, equals);
  const std::size_t colon = left.find(':');
  const std::string name = left.substr(0, colon);
  const std::string type = colon == left.npos ? "" : left.substr(colon + 1);
  if (equals == text.npos || name.empty()) {
    throw CLI::ValidationError(
        option, in_users_language({"'{1}' is not NAME=VALUE", "“{1}”不是 NAME=VALUE"}, {text}));
  }
  const std::string value = text.substr(equals + 1);
  if (colon == left.npos ? looks_like_int(value) : type == "int") {
    return {name, int_of(option, name, value)};
  }
  if (colon != left.npos && type != "string") {
    throw CLI::ValidationError(option,
                               in_users_language({"'{1}' is not a type: NAME:int or NAME:string",
                                                  "“{1}”不是类型：NAME:int 或 NAME:string"},
                                                 {type}));
  }
  return {name, value};
}

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

// What is typed, before its parts are looked at.
struct Typed {
  std::vector<std::string> modules;
  std::string levels;
  std::string details;
  std::string queue_bytes;
  std::string when_full;
  std::string keep_level;
  std::string log_bytes;
  std::string backups;
  std::vector<std::string> globals;
  std::vector<std::string> environment;
};

void declare_log_options(CLI::App& app, Options& options, Typed& typed) {
  app.add_option("--queue-bytes", typed.queue_bytes,
                 "With --queued: the queue is full with so many bytes (16384 when\n"
                 "not given)")
      ->type_name("N");
  app.add_option("--when-full", typed.when_full,
                 "With --queued: let a record wait for room in the queue (when not\n"
                 "given), or drop it, or drop it unless --keep-level has its level;\n"
                 "the log says how many were dropped")
      ->type_name("wait|drop-new|drop-below");
  app.add_option("--keep-level", typed.keep_level,
                 "With --when-full drop-below: never drop these levels")
      ->type_name("LIST");
  app.add_flag("--journal", options.log.journal,
               "With --queued: keep the queue in FILE.journal as well, so that no\n"
               "record is lost when the process is killed");
  app.add_option("--log-bytes", typed.log_bytes,
                 "Begin another file when that of the log has so many bytes\n"
                 "(10485760 when not given)")
      ->type_name("N");
  app.add_option("--backups", typed.backups,
                 "Keep so many files of the log, FILE.bak.N, beside it (4 when not\n"
                 "given)")
      ->type_name("N");
}

void declare(CLI::App& app, Options& options, Typed& typed) {
  app.name("fwrun");
  app.footer(kFooter);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_version_flag("--version", "fwrun " FWRUN_VERSION, "Print the version and exit");
  app.add_option("SCRIPT", options.script, "The script file; - is standard input");
  app.add_option("SECTION", options.sections, "Sections to run, one after the other");

  app.add_option("--module", typed.modules,
                 "Create a module of the library PATH by FUNCTION (create_module\n"
                 "when not given) and hand ARGUMENT to its init(). Without a\n"
                 "directory PATH is looked for beside fwrun first. The module of\n"
                 "the library fwstd is always created, before the others")
      ->type_name("PATH[:FUNCTION][=ARGUMENT]")
      ->allow_extra_args(false);
  app.add_option("--mock", options.mocks,
                 "Let a function that the script declares and no module provides\n"
                 "print its calls and succeed")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_flag("--mock-missing", options.mock_missing,
               "Mock every function that the script declares and no module\n"
               "provides");
  app.add_option("--log", options.log_file, "Append log records to FILE")->type_name("FILE");
  app.add_option("--level", typed.levels,
                 "Log these levels: of trace,debug,warn,error,alert,dump, or all\n"
                 "(all but trace and debug when not given)")
      ->type_name("LIST");
  app.add_option("--details", typed.details, "Add to each record: of time,pid,tid")
      ->type_name("LIST");
  app.add_flag("--queued", options.queued, "Let a thread of its own write the log");
  declare_log_options(app, options, typed);
  app.add_option("--set", typed.globals,
                 "Set a global variable, an int when VALUE looks like one;\n"
                 "NAME:int=VALUE and NAME:string=VALUE tell the type")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  app.add_option("--env", typed.environment,
                 "Set a variable of the environment that the sections run in, likewise")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  app.add_flag("--print", options.print, "Print all variables at the end");
  app.add_flag("--save", options.save,
               "Write changed global variables back into SCRIPT, unless a call failed");
  app.add_flag("--check", options.check,
               "Check SCRIPT first, as fwcheck does, and run nothing if there is an error");
  app.add_flag("--watch", options.watch,
               "Then wait, and run the sections again whenever SCRIPT changes,\n"
               "until Ctrl-C or SIGTERM: variables keep their values, and a file\n"
               "with a mistake is told and changes nothing");
  app.add_flag("--functions", options.functions, "List the functions of the modules");
  app.add_flag("--list", options.list, "List sections, functions and variables, and run nothing");
}

// What shells complete beside options and files. --list shows names a line each.
std::vector<tools::Choice> choices() {
  return {
      {"--level", "trace debug warn error alert dump all", "", true},
      {"--details", "time pid tid", "", true},
      {"--when-full", "wait drop-new drop-below", "", false},
      {"--keep-level", "trace debug warn error alert dump all", "", true},
      {"--mock", "",
       "fwrun --list \"$1\" | sed -n '/^functions:/,/^variables:/s/^  \\([^( ]*\\)(.*/\\1/p'"},
      {"", "", "fwrun --list \"$1\" | sed -n '/^sections:/,/^functions:/s/^  \\([^ ].*\\)/\\1/p'"}};
}

void check_combination(const CLI::App& app) {
  for (const char* const option : {"SECTION", "--module", "--mock", "--mock-missing", "--log",
                                   "--set", "--env", "--print", "--save", "--check"}) {
    if (app.count(option) != 0 && app.count("--list") != 0) {
      throw CLI::ValidationError(option,
                                 in_users_language({"does not go with --list, which runs nothing",
                                                    "不能与 --list 同用，它什么都不运行"}));
    }
  }
  for (const char* const option : {"--list", "--functions", "--print", "--save"}) {
    if (app.count(option) != 0 && app.count("--watch") != 0) {
      throw CLI::ValidationError(option,
                                 in_users_language({"does not go with --watch, which ends "
                                                    "with an interruption only",
                                                    "不能与 --watch 同用，它只因中断而结束"}));
    }
  }
  for (const char* const option : {"--queue-bytes", "--when-full", "--journal"}) {
    if (app.count(option) != 0 && app.count("--queued") == 0) {
      throw CLI::ValidationError(option,
                                 in_users_language({"needs --queued", "需要与 --queued 同用"}));
    }
  }
  if (app.count("SCRIPT") == 0 && app.count("--functions") == 0) {
    throw CLI::RequiredError("SCRIPT");
  }
  const bool is_input = app.count("SCRIPT") != 0 && app["SCRIPT"]->as<std::string>() == "-";
  if (app.count("--save") != 0 && is_input) {
    throw CLI::ValidationError(
        "--save", in_users_language({"standard input cannot be saved", "标准输入无法保存"}));
  }
  if (app.count("--watch") != 0 && is_input) {
    throw CLI::ValidationError(
        "--watch", in_users_language({"standard input does not change", "标准输入不会改变"}));
  }
}

void interpret(const Typed& typed, Options& options) {
  options.levels =
      typed.levels.empty() ? kDefaultLevels : bits_of("--level", typed.levels, kLevels);
  options.details = typed.details.empty() ? 0 : bits_of("--details", typed.details, kDetails);
  take_number<std::size_t>("--queue-bytes", typed.queue_bytes, 1, options.log.queue_bytes);
  take_number<std::size_t>("--log-bytes", typed.log_bytes, 1, options.log.file_bytes);
  take_number("--backups", typed.backups, 0, options.log.backups);
  if (!typed.when_full.empty()) {
    options.log.when_full = when_full_of(typed.when_full);
  }
  if (!typed.keep_level.empty()) {
    options.log.keep_level = bits_of("--keep-level", typed.keep_level, kLevels);
  }
  for (const std::string& text : typed.modules) {
    options.modules.push_back(module_of(text));
  }
  for (const std::string& text : typed.globals) {
    options.globals.push_back(assignment_of("--set", text));
  }
  for (const std::string& text : typed.environment) {
    options.environment.push_back(assignment_of("--env", text));
  }
}

}  // namespace

std::optional<int> parse_options(int argc, char** argv, Options& options) {
  CLI::App app("Runs sections of a script.");
  Typed typed;
  declare(app, options, typed);
  if (const std::optional<std::string> page = tools::command_page(app, argc, argv, choices())) {
    return write_out(*page);
  }
  try {
    app.parse(argc, argv);
    check_combination(app);
    interpret(typed, options);
    return {};
  } catch (const CLI::CallForHelp&) {
    return write_out(app.help());
  } catch (const CLI::CallForVersion&) {
    return write_out(app.version() + "\n");
  } catch (const CLI::ParseError& error) {
    complain(error.what());
    complain({"fwrun --help shows the options", "fwrun --help 显示全部选项"}, {});
    return kNothing;
  }
}

}  // namespace fwrun
