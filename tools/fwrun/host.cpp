// From the start of the library to its end: modules, script, variables, sections, results.
#include "host.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <set>

#include <fwbase/check.h>
#include <fwbase/ifwbase.h>
#include <fwbase/reload.h>

#include "command_line/error_log.h"
#include "command_line/result_code.h"
#include "command_line/standard_input.h"
#include "command_line/text.h"
#include "findings/finding_text.h"
#include "functions.h"
#include "interruption.h"
#include "listing.h"
#include "load_report.h"
#include "mocks.h"
#include "modules/modules.h"
#include "printing.h"
#include "script_watch.h"
#include "sections.h"

namespace fwrun {

using tools::described;
using tools::ErrorLog;
using tools::joined;
using tools::report_failure;

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

bool open_log(const Options& options, ErrorLog& log) {
  if (options.log_file.empty()) {
    return true;
  }
  const ec::EC configured = fwbase::log_options(options.log);
  if (ec::failed(configured)) {
    complain({"cannot set the options of the log: {1}", "无法设置日志的选项：{1}"},
             {described(configured)});
    return false;
  }
  errno = 0;
  const ec::EC opened = log.file(options.log_file.c_str());
  if (ec::failed(opened)) {
    complain({"cannot open the log file '{1}': {2}", "无法打开日志文件“{1}”：{2}"},
             {options.log_file, errno != 0 ? tools::reason_of(errno) : described(opened)});
    return false;
  }
  log.type(options.levels);
  log.info(options.details);
  log.asynch(options.queued);
  return true;
}

// Says where to find more about what went wrong.
void point_to_log(const Options& options) {
  if (options.log_file.empty()) {
    complain({"for the records of the whole run, add --log FILE --level all",
              "要查看整个运行的记录，请加上 --log FILE --level all"},
             {});
  } else {
    complain({"the records of the run are in {1} (fwlog shows it)",
              "运行的记录在 {1} 中（用 fwlog 查看）"},
             {options.log_file});
  }
}

// Compares the script with the registered functions: those of modules, and mocks.
std::vector<fwbase::Finding> findings_of(const Options& options) {
  fwbase::CheckOptions given;
  for (const Assignment& one : options.environment) {
    given.environment.push_back(one.name);
  }
  return fwbase::check_script(options.path.c_str(), given);
}

void tell(const Options& options, const std::vector<fwbase::Finding>& findings) {
  for (const fwbase::Finding& finding : findings) {
    const std::string line = tools::finding_line(options.script, finding);
    std::fwrite(line.data(), 1, line.size(), stderr);
  }
}

// Says why the engine refuses the script, lists all mistakes with their places, and says what
// helps.
void report_load_failure(const Options& options, ec::EC code, const std::string& reason,
                         ErrorLog& errors) {
  report_failure(tools::in_users_language({"cannot load '{1}'", "无法加载“{1}”"}, {options.script}),
                 code, errors);
  if (!reason.empty()) {
    tools::complain_text("  " + reason);
  }
  std::vector<fwbase::Finding> findings = findings_of(options);
  std::erase_if(findings, [](const fwbase::Finding& one) { return !one.error; });
  tell(options, findings);
  point_to_log(options);
}

// The engine stops at the first mistake. Only these codes mean that a call does not match.
std::string reason_refused(ec::EC loaded, const ScriptFile& script, const CallWatch& watch) {
  const bool is_mismatch = loaded == ec::SCRIPT_NO_RULE || loaded == ec::SCRIPT_PARAM_COUNT ||
                           loaded == ec::SCRIPT_PARAM_TYPE;
  return is_mismatch ? mismatch(script, watch) : "";
}

// What the sections run with, apart from the modules.
struct Host {
  ErrorLog errors;
  CallWatch watch{errors};
  Mocks mocks;
};

// --check: false where there is an error.
bool check(const Options& options) {
  const std::vector<fwbase::Finding> findings = findings_of(options);
  tell(options, findings);
  return std::none_of(findings.begin(), findings.end(),
                      [](const fwbase::Finding& one) { return one.error; });
}

enum class Way { kLoad, kReload };

// False, after a complaint, when nothing is loaded; `script` is that of the file all the same.
bool load(Way way, const Options& options, ScriptFile& script, Host& host) {
  std::string why = reason_unreadable(options.path);
  if (!why.empty()) {
    report_load_failure(options, ec::SCRIPT_E_LOAD, why, host.errors);
    return false;
  }
  const bool is_read = read_script_file(options.path, script, why);
  if (is_read && way == Way::kLoad && !host.mocks.add(options, script, host.watch)) {
    return false;
  }
  if (options.check && !check(options)) {
    return false;
  }
  const ec::EC loaded = way == Way::kLoad
                            ? IFWBase::instance()->script()->load_script(options.path.c_str())
                            : fwbase::reload_script(options.path.c_str());
  if (ec::succeeded(loaded) && is_read) {
    return true;
  }
  report_load_failure(options, ec::failed(loaded) ? loaded : ec::SCRIPT_E_LOAD,
                      is_read ? reason_refused(loaded, script, host.watch) : why, host.errors);
  return false;
}

std::vector<std::string> names_of(const NamedList<Section>& sections) {
  std::vector<std::string> names;
  for (const Section& section : sections) {
    names.push_back(section.name);
  }
  return names;
}

bool all_known(const Options& options, const ScriptFile& script) {
  for (const std::string& name : options.sections) {
    if (script.sections.find(name) == nullptr) {
      complain({"'{1}' has no section '{2}'; it has: {3}", "“{1}”没有节“{2}”；它有：{3}"},
               {options.script, name, joined(names_of(script.sections))});
      return false;
    }
  }
  return true;
}

// Sets one variable by set_value() or set_value_env().
template <typename Set>
bool assign(const std::vector<Assignment>& assignments, ErrorLog& errors, Set set) {
  for (const Assignment& one : assignments) {
    const bool is_int = std::holds_alternative<std::int32_t>(one.value);
    const void* const data = is_int ? static_cast<const void*>(&std::get<std::int32_t>(one.value))
                                    : &std::get<std::string>(one.value);
    const ec::EC result =
        set(one.name.c_str(), is_int ? IScript::VT_INT : IScript::VT_STRING, data);
    if (ec::failed(result)) {
      report_failure(tools::in_users_language({"cannot set '{1}'", "无法设置“{1}”"}, {one.name}),
                     result, errors);
      return false;
    }
  }
  return true;
}

bool set_variables(const Options& options, ErrorLog& errors, void* environment) {
  IScript& engine = *IFWBase::instance()->script();
  return assign(options.globals, errors,
                [&](const char* name, IScript::VType type, const void* data) {
                  return engine.set_value(name, type, data);
                }) &&
         assign(options.environment, errors,
                [&](const char* name, IScript::VType type, const void* data) {
                  return engine.set_value_env(name, type, data, environment);
                });
}

bool save(const Options& options, ErrorLog& errors) {
  const ec::EC saved = IFWBase::instance()->script()->save_script();
  if (ec::succeeded(saved)) {
    return true;
  }
  report_failure(tools::in_users_language({"cannot save '{1}'", "无法保存“{1}”"}, {options.script}),
                 saved, errors);
  return false;
}

Status run_and_store(const std::vector<std::string>& sections, const Options& options,
                     const Loaded& loaded) {
  Status status = run_sections(sections, loaded) ? kDone : kFailed;
  if (options.save && status == kFailed) {
    complain({"'{1}' is left as it was: nothing is saved after a failure",
              "“{1}”保持原样：失败后不保存"},
             {options.script});
  }
  if (options.save && status == kDone && !save(options, loaded.errors)) {
    status = kFailed;
  }
  if (status == kFailed) {
    point_to_log(options);
  }
  if (options.print &&
      write_out(variables_text(loaded.script, options, loaded.environment)) != kDone) {
    status = kFailed;
  }
  return was_interrupted() ? kInterrupted : status;
}

// A name that the script does not mention is most likely misspelt.
void warn_of_unmentioned(const Options& options, const ScriptFile& script) {
  const std::set<std::string> names = names_in(script);
  for (const Assignment& one : options.globals) {
    if (names.count(one.name) == 0) {
      complain({"warning: --set {1}: '{2}' does not mention this name",
                "警告：--set {1}：“{2}”没有提到这个名字"},
               {one.name, options.script});
    }
  }
}

// The sections to run. Of several they must be named; a script without any is listed.
Status choose_sections(const Options& options, const ScriptFile& script,
                       std::vector<std::string>& sections) {
  if (!all_known(options, script)) {
    return kNothing;
  }
  sections = options.sections;
  if (sections.empty() && script.sections.size() == 1) {
    sections = names_of(script.sections);
  }
  if (!sections.empty()) {
    return kDone;
  }
  if (script.sections.size() > 1) {
    complain({"'{1}' has several sections; name those to run: {2}",
              "“{1}”有多个节；请指明要运行的：{2}"},
             {options.script, joined(names_of(script.sections))});
  }
  const Status written = write_out(listing(script));
  return script.sections.size() > 1 ? kNothing : written;
}

// Runs nothing when the file has a mistake: then the script before it stays loaded.
void run_again(const Options& options, Host& host, void* environment) {
  ScriptFile script;
  std::vector<std::string> sections;
  complain({"'{1}' has changed", "“{1}”已修改"}, {options.script});
  if (!load(Way::kReload, options, script, host)) {
    complain({"what was loaded before stays; waiting for the next change of '{1}'",
              "之前加载的内容保持不变；等待“{1}”的下一次修改"},
             {options.script});
  } else if (choose_sections(options, script, sections) == kDone) {
    run_and_store(sections, options,
                  {options.script, script, host.watch, host.errors, environment});
  }
}

Status run_script(const Options& options, Host& host) {
  char environment = 0;  // its address is the key of this environment
  std::optional<ScriptWatch> changes;
  if (options.watch) {
    changes.emplace(options.path);
  }
  ScriptFile script;
  if (!load(Way::kLoad, options, script, host)) {
    return kNothing;
  }
  std::vector<std::string> sections;
  const Status chosen = choose_sections(options, script, sections);
  if (chosen != kDone || (sections.empty() && !options.watch)) {
    return chosen;
  }
  warn_of_unmentioned(options, script);
  if (!set_variables(options, host.errors, &environment)) {
    return kNothing;
  }
  note_interruption();
  if (options.watch) {
    note_termination();
  }
  const Status status = run_and_store(
      sections, options, {options.script, script, host.watch, host.errors, &environment});
  if (!changes) {
    return status;
  }
  while (changes->wait_for_change()) {
    run_again(options, host, &environment);
  }
  return was_interrupted() ? kInterrupted : kFailed;
}

Status list_script(const Options& options) {
  ScriptFile script;
  std::string why;
  if (!read_script_file(options.path, script, why)) {
    complain({"cannot list '{1}': {2}", "无法列出“{1}”：{2}"}, {options.script, why});
    return kNothing;
  }
  return write_out(listing(script));
}

Status work(const Options& options, Host& host) {
  if (options.list) {
    return list_script(options);
  }
  if (!open_log(options, host.errors)) {
    return kNothing;
  }
  std::vector<tools::ModuleArgument> modules = options.modules;
  modules.insert(modules.begin(), tools::kGeneralFunctions);
  if (!tools::create_modules(modules, host.errors)) {
    point_to_log(options);
    return kNothing;
  }
  return options.functions ? write_out(functions_text()) : run_script(options, host);
}

}  // namespace

Status run(Options options) {
  std::optional<tools::StandardInput> input;
  options.path = options.script == "-" ? input.emplace().path() : options.script;
  const bool is_started = tools::start_library();
  Host host;
  tools::Library library;  // ends before the host, which modules use until their release
  if (!is_started) {
    return kNothing;
  }
  const Status status = work(options, host);
  return library.release() || status != kDone ? status : kFailed;
}

}  // namespace fwrun
