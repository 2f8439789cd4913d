// Declares the options to CLI11, which parses them and writes --help; then interprets the values.
#include "options.h"

#include <charconv>
#include <string_view>
#include <utility>

#include <fwbase/irunlog.h>
#include <CLI/CLI.hpp>

#include "command_line/parsing.h"
#include "output.h"

namespace fwrun {

namespace {

using fwbase::IRunLog;
using fwbase::LogOptions;
using tools::refuse;

// Sorted, as messages list them.
const tools::Words<unsigned int> kLevels = {{"alert", IRunLog::ALERT}, {"all", 0x3F},
                                            {"debug", IRunLog::DEBUG}, {"dump", IRunLog::DUMP},
                                            {"error", IRunLog::ERROR}, {"trace", IRunLog::TRACE},
                                            {"warn", IRunLog::WARN}};
constexpr unsigned int kDefaultLevels =
    IRunLog::WARN | IRunLog::ERROR | IRunLog::ALERT | IRunLog::DUMP;

const tools::Words<unsigned int> kDetails = {
    {"pid", IRunLog::INFO_PID}, {"tid", IRunLog::INFO_TID}, {"time", IRunLog::INFO_TIME}};

const tools::Words<LogOptions::WhenFull> kWhenFull = {{"wait", LogOptions::kWait},
                                                      {"drop-new", LogOptions::kDropNew},
                                                      {"drop-below", LogOptions::kDropBelow}};

const char* const kFooter =
    "A script with one section needs no SECTION. Of several, name those to run.\n"
    "\n"
    "Exit status: 0 done; 1 a call failed, a result could not be saved or written, or a module\n"
    "threw as it was released;\n"
    "2 wrong usage, or a module or the script cannot be loaded: nothing was run;\n"
    "130 interrupted.\n"
    "\n"
    "Example: fwrun --log run.log --level warn,error --set limit=80 --save script.xml check\n"
    "fwlog run.log shows the log.";

bool looks_like_int(std::string_view text) {
  if (!text.empty() && text.front() == '-') {
    text.remove_prefix(1);
  }
  return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

// Takes the whole text as a number.
template <typename Number>
std::errc read_number(const std::string& text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return stop != end && error == std::errc() ? std::errc::invalid_argument : error;
}

std::int32_t int_of(const char* option, const std::string& name, const std::string& text) {
  std::int32_t number = 0;
  const std::errc error = read_number(text, number);
  if (error == std::errc::result_out_of_range) {
    refuse(option,
           {"the value of {1} does not fit in 32 bits; write {1}:string={2} for a string",
            "{1} 的值超出 32 位；若是字符串，请写 {1}:string={2}"},
           {name, text});
  }
  if (error != std::errc()) {
    refuse(option, {"'{1}', the value of {2}, is not an int", "{2} 的值“{1}”不是整数"},
           {text, name});
  }
  return number;
}

// A number from `least` on; does nothing when the option is not given.
template <typename Number>
void take_number(const char* option, const std::string& text, Number least, Number& number) {
  if (!text.empty() && (read_number(text, number) != std::errc() || number < least)) {
    refuse(option, {"'{1}' is not a number from {2} on", "“{1}”不是不小于 {2} 的数"},
           {text, std::to_string(least)});
  }
}

Assignment assignment_of(const char* option, const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::string left = text.substr(0, equals);
  const std::size_t colon = left.find(':');
  const std::string name = left.substr(0, colon);
  const std::string type = colon == left.npos ? "" : left.substr(colon + 1);
  if (equals == text.npos || name.empty()) {
    refuse(option, {"'{1}' is not NAME=VALUE", "“{1}”不是 NAME=VALUE"}, {text});
  }
  const std::string value = text.substr(equals + 1);
  if (colon == left.npos ? looks_like_int(value) : type == "int") {
    return {name, int_of(option, name, value)};
  }
  if (colon != left.npos && type != "string") {
    refuse(
        option,
        {"'{1}' is not a type: NAME:int or NAME:string", "“{1}”不是类型：NAME:int 或 NAME:string"},
        {type});
  }
  return {name, value};
}

// Values as typed.
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
                 "With --queued: the queue is full at N bytes (default: 16384)")
      ->type_name("N");
  app.add_option("--when-full", typed.when_full,
                 "With --queued: let records wait for room in a full queue (default),\n"
                 "or drop new ones, or those whose level is not in --keep-level; the\n"
                 "log says how many were dropped")
      ->type_name("wait|drop-new|drop-below");
  app.add_option("--keep-level", typed.keep_level,
                 "With --when-full drop-below: never drop these levels")
      ->type_name("LIST");
  app.add_flag("--journal", options.log.journal,
               "With --queued: keep the queue in FILE.journal as well, so that no\n"
               "record is lost when the process is killed");
  app.add_option("--log-bytes", typed.log_bytes,
                 "Begin another log file at N bytes (default: 10485760)")
      ->type_name("N");
  app.add_option("--backups", typed.backups,
                 "Keep N old log files, FILE.bak.0 and so on (default: 4)")
      ->type_name("N");
}

void declare(CLI::App& app, Options& options, Typed& typed) {
  tools::name_command(app, "fwrun", "-h,--help");
  app.footer(kFooter);
  app.add_option("SCRIPT", options.script, "The script file; - is standard input");
  app.add_option("SECTION", options.sections, "Sections to run, one after the other");

  app.add_option("--module", typed.modules,
                 "Create a module with FUNCTION (default: create_module) of the\n"
                 "library PATH, and pass ARGUMENT to its init(). PATH without a\n"
                 "directory is looked for beside fwrun first. The module of the\n"
                 "library fwstd is always created before the others")
      ->type_name("PATH[:FUNCTION][=ARGUMENT]")
      ->allow_extra_args(false);
  app.add_option("--mock", options.mocks,
                 "Stand in for a function that the script declares and no module\n"
                 "provides: print its calls, which succeed")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_flag("--mock-missing", options.mock_missing,
               "Mock all functions that the script declares and no module provides");
  app.add_option("--log", options.log_file, "Append log records to FILE")->type_name("FILE");
  app.add_option("--level", typed.levels,
                 "Log these levels, separated by commas: trace, debug, warn, error,\n"
                 "alert, dump or all (default: all but trace and debug)")
      ->type_name("LIST");
  app.add_option("--details", typed.details,
                 "Add these to each record, separated by commas: time, pid, tid")
      ->type_name("LIST");
  app.add_flag("--queued", options.queued, "Write the log in a thread of its own");
  declare_log_options(app, options, typed);
  app.add_option("--set", typed.globals,
                 "Set a global variable: an int when VALUE looks like one, else a\n"
                 "string; NAME:int=VALUE and NAME:string=VALUE choose the type")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  app.add_option("--env", typed.environment,
                 "Likewise, set a variable of the environment of the sections")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
  app.add_flag("--print", options.print, "Print all variables at the end");
  app.add_flag("--save", options.save,
               "Write changed global variables back into SCRIPT, unless a call failed");
  app.add_flag("--check", options.check,
               "Check SCRIPT first, as fwcheck does, and run nothing after an error");
  app.add_flag("--watch", options.watch,
               "Then wait, and run the sections again whenever SCRIPT changes,\n"
               "until Ctrl-C or SIGTERM; variables keep their values, and a file\n"
               "with a mistake changes nothing");
  app.add_flag("--functions", options.functions, "List the functions of the modules");
  app.add_flag("--list", options.list, "List sections, functions and variables, and run nothing");
}

// What shells complete beside options and files. --list prints a name on each line.
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
      refuse(option,
             {"does not go with --list, which runs nothing", "不能与 --list 同用，它什么都不运行"});
    }
  }
  for (const char* const option : {"--list", "--functions", "--print", "--save"}) {
    if (app.count(option) != 0 && app.count("--watch") != 0) {
      refuse(option, {"does not go with --watch, which ends with an interruption only",
                      "不能与 --watch 同用，它只因中断而结束"});
    }
  }
  for (const char* const option : {"--queue-bytes", "--when-full", "--journal"}) {
    if (app.count(option) != 0 && app.count("--queued") == 0) {
      refuse(option, {"needs --queued", "需要与 --queued 同用"});
    }
  }
  if (app.count("SCRIPT") == 0 && app.count("--functions") == 0) {
    throw CLI::RequiredError("SCRIPT");
  }
  const bool is_input = app.count("SCRIPT") != 0 && app["SCRIPT"]->as<std::string>() == "-";
  if (app.count("--save") != 0 && is_input) {
    refuse("--save", {"standard input cannot be saved", "标准输入无法保存"});
  }
  if (app.count("--watch") != 0 && is_input) {
    refuse("--watch", {"standard input does not change", "标准输入不会改变"});
  }
}

void interpret(const Typed& typed, Options& options) {
  options.levels =
      typed.levels.empty() ? kDefaultLevels : tools::bits_of("--level", typed.levels, kLevels);
  options.details =
      typed.details.empty() ? 0 : tools::bits_of("--details", typed.details, kDetails);
  take_number<std::size_t>("--queue-bytes", typed.queue_bytes, 1, options.log.queue_bytes);
  take_number<std::size_t>("--log-bytes", typed.log_bytes, 1, options.log.file_bytes);
  take_number("--backups", typed.backups, 0, options.log.backups);
  if (!typed.when_full.empty()) {
    options.log.when_full = tools::one_of("--when-full", typed.when_full, kWhenFull);
  }
  if (!typed.keep_level.empty()) {
    options.log.keep_level = tools::bits_of("--keep-level", typed.keep_level, kLevels);
  }
  for (const std::string& text : typed.modules) {
    options.modules.push_back(tools::module_of("--module", text));
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
  return tools::parse(app, argc, argv, choices(), write_out, [&] {
    check_combination(app);
    interpret(typed, options);
  });
}

}  // namespace fwrun
