#include "run.h"

#include <cerrno>
#include <cstring>

#include <fwbase/ifwbase.h>

#include "listing.h"
#include "load_report.h"
#include "mocks.h"
#include "printing.h"
#include "running.h"
#include "support/error_log.h"
#include "support/modules.h"
#include "support/text.h"

namespace fwrun {

using tools::described;
using tools::ErrorLog;
using tools::joined;

namespace {

using fwbase::IFWBase;
using fwbase::IScript;

// Takes the library out of service, and with it all modules.
class Library {
 public:
  Library() = default;
  ~Library() { release(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // False when a module threw. The next call goes on behind it, so that the others end too.
  bool release() {
    for (bool all_ended = true;; all_ended = false) {
      try {
        IFWBase::instance()->release();
        return all_ended;
      } catch (...) {
        complain("a module could not be released: " + tools::exception_text());
      }
    }
  }
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
    complain("the records of the run are in " + options.log_file + " (fwlog shows it)");
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

// What the sections run with, apart from the modules.
struct Host {
  ErrorLog errors;
  CallWatch watch{errors};
  Mocks mocks;
};

bool load(const Options& options, ScriptFile& script, Host& host) {
  std::string why = reason_unreadable(options.script);
  if (!why.empty()) {
    report_load_failure(options, ec::SCRIPT_E_LOAD, why, host.errors);
    return false;
  }
  const bool is_read = read_script_file(options.script, script, why);
  if (is_read && !host.mocks.add(options, script, host.watch)) {
    return false;
  }
  const ec::EC loaded = IFWBase::instance()->script()->load_script(options.script.c_str());
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

Status run_script(const Options& options, Host& host) {
  char environment = 0;  // its address tells this environment from others
  ScriptFile script;
  if (!load(options, script, host) || !all_known(options, script)) {
    return kNothing;
  }
  std::vector<std::string> sections = options.sections;
  if (sections.empty() && script.sections.size() == 1) {
    sections = names_of(script.sections);
  }
  if (sections.empty()) {
    return write_out(listing(script));
  }
  if (!set_variables(options, host.errors, &environment)) {
    return kNothing;
  }
  return run_and_store(sections, options, {script, host.watch, host.errors, &environment});
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

Status work(const Options& options, Host& host) {
  if (options.list) {
    return list_script(options);
  }
  if (!open_log(options, host.errors)) {
    return kNothing;
  }
  std::vector<tools::ModuleArgument> modules = options.modules;
  modules.insert(modules.begin(), tools::kGeneralFunctions);
  if (!tools::create_modules(modules, host.errors, complain)) {
    point_to_log(options);
    return kNothing;
  }
  return run_script(options, host);
}

}  // namespace

Status run(const Options& options) {
  const ec::EC started = IFWBase::instance()->init();
  Host host;
  Library library;  // ends before the host, which modules use until they are released
  if (ec::failed(started)) {
    complain("cannot start the library: " + described(started));
    return kNothing;
  }
  const Status status = work(options, host);
  return library.release() || status != kDone ? status : kFailed;
}

}  // namespace fwrun
