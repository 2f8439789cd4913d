#include "run.h"

#include <cerrno>
#include <cstring>

#include <fwbase/ifwbase.h>

#include "functions/functions.h"
#include "listing.h"
#include "load_report.h"
#include "printing.h"
#include "running.h"
#include "support/text.h"

namespace fwrun {

using tools::described;
using tools::joined;

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

// The library, in service while this lives.
class Library {
 public:
  Library() : m_state(IFWBase::instance()->init()) {}
  ~Library() { IFWBase::instance()->release(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  ec::EC state() const { return m_state; }

 private:
  ec::EC m_state;
};

bool open_log(const Options& options, ErrorLog& log) {
  if (options.log_file.empty()) {
    return true;
  }
  errno = 0;
  const ec::EC opened = log.file(options.log_file.c_str());
  if (ec::failed(opened)) {
    complain("cannot open the log file '" + options.log_file +
             "': " + (errno != 0 ? std::strerror(errno) : described(opened)));
    return false;
  }
  log.type(options.levels);
  log.info(options.details);
  log.asynch(options.queued);
  return true;
}

// Where more is to be found about what went wrong.
void point_to_log(const Options& options) {
  if (options.log_file.empty()) {
    complain("for the records of the whole run, add --log FILE --level all");
  } else {
    complain("the records of the run are in " + options.log_file +
             " (iconv -f GBK -t UTF-8 shows it)");
  }
}

void report_load_failure(const Options& options, ec::EC code, const std::string& reason,
                         ErrorLog& errors) {
  report_failure("cannot load '" + options.script + "'", code, errors);
  if (!reason.empty()) {
    complain("  " + reason);
  }
  point_to_log(options);
}

// The engine stops at the first mistake; a mismatch is the reason only where it says so.
std::string reason_refused(ec::EC loaded, const ScriptFile& script, const CallWatch& watch) {
  const bool is_mismatch = loaded == ec::SCRIPT_NO_RULE || loaded == ec::SCRIPT_PARAM_COUNT ||
                           loaded == ec::SCRIPT_PARAM_TYPE;
  return is_mismatch ? mismatch(script, watch) : "";
}

bool load(const Options& options, ScriptFile& script, CallWatch& watch, ErrorLog& errors) {
  std::string why = reason_unreadable(options.script);
  if (!why.empty()) {
    report_load_failure(options, ec::SCRIPT_E_LOAD, why, errors);
    return false;
  }
  const ec::EC loaded = IFWBase::instance()->script()->load_script(options.script.c_str());
  const bool is_read = read_script_file(options.script, script, why);
  if (ec::succeeded(loaded) && is_read) {
    return true;
  }
  report_load_failure(options, ec::failed(loaded) ? loaded : ec::SCRIPT_E_LOAD,
                      is_read ? reason_refused(loaded, script, watch) : why, errors);
  return false;
}

std::vector<std::string> names_of(const std::vector<Section>& sections) {
  std::vector<std::string> names;
  for (const Section& section : sections) {
    names.push_back(section.name);
  }
  return names;
}

bool all_known(const Options& options, const ScriptFile& script) {
  for (const std::string& name : options.sections) {
    if (script.section(name) == nullptr) {
      complain("'" + options.script + "' has no section '" + name +
               "'; it has: " + joined(names_of(script.sections)));
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
      report_failure("cannot set '" + one.name + "'", result, errors);
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
  report_failure("cannot save '" + options.script + "'", saved, errors);
  return false;
}

Status run_and_store(const std::vector<std::string>& sections, const Options& options,
                     const Loaded& loaded) {
  Status status = run_sections(sections, loaded) ? kDone : kFailed;
  if (options.save && status == kFailed) {
    complain("'" + options.script + "' is left as it was: nothing is saved after a failure");
  }
  if (options.save && status == kDone && !save(options, loaded.errors)) {
    status = kFailed;
  }
  if (status == kFailed) {
    point_to_log(options);
  }
  if (options.print &&
      write_out(variables_text(loaded.script, options, loaded.environment)) != kDone) {
    return kFailed;
  }
  return status;
}

Status run_script(const Options& options, CallWatch& watch, ErrorLog& errors) {
  char environment = 0;  // its address tells this environment from others
  ScriptFile script;
  if (!load(options, script, watch, errors) || !all_known(options, script)) {
    return kNothing;
  }
  std::vector<std::string> sections = options.sections;
  if (sections.empty() && script.sections.size() == 1) {
    sections = names_of(script.sections);
  }
  if (sections.empty()) {
    return write_out(listing(script));
  }
  if (!set_variables(options, errors, &environment)) {
    return kNothing;
  }
  return run_and_store(sections, options, {script, watch, errors, &environment});
}

Status list_script(const Options& options) {
  ScriptFile script;
  std::string why;
  if (!read_script_file(options.script, script, why)) {
    complain("cannot list '" + options.script + "': " + why);
    return kNothing;
  }
  return write_out(listing(script));
}

}  // namespace

Status run(const Options& options) {
  const Library library;
  if (ec::failed(library.state())) {
    complain("cannot start the library: " + described(library.state()));
    return kNothing;
  }
  if (options.list) {
    return list_script(options);
  }
  ErrorLog log;
  if (!open_log(options, log)) {
    return kNothing;
  }
  CallWatch watch(log);
  functions::register_functions(*IFWBase::instance()->script(),
                                [&](IScript::ISyntax& function) { return watch.watch(function); });
  return run_script(options, watch, log);
}

}  // namespace fwrun
