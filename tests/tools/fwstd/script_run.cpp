#include "tests/tools/fwstd/script_run.h"

#include <stdexcept>

#include "fwstd/functions.h"
#include "tests/tools/fwstd/documented_functions.h"

namespace fwstd::test {

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::IScript;

namespace {

IScript& engine() { return *IFWBase::instance()->script(); }

// Not null, so that a function that ignores its environment is found out.
char environment;

// "5" for an int, "'text'" for a string, "missing" for neither.
template <typename Get>
std::string shown(Get get) {
  std::int32_t number = 0;
  std::string text;
  if (ec::succeeded(get(IScript::VT_INT, &number))) {
    return std::to_string(number);
  }
  return ec::succeeded(get(IScript::VT_STRING, &text)) ? "'" + text + "'" : "missing";
}

}  // namespace

std::string script_text(const std::string& calls, const std::string& data) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<korvid>" + documented_template() +
         "<Process name=\"\"><Data>" + data + "</Data><Exec><section name=\"run\">" + calls +
         "</section></Exec></Process></korvid>";
}

ScriptRun::Library::Library() {
  if (ec::failed(IFWBase::instance()->init())) {
    throw std::runtime_error("the library does not start");
  }
  register_functions(engine());
}

ScriptRun::Library::~Library() { IFWBase::instance()->release(); }

ec::EC load_result(const std::string& calls) {
  const fwbase::test::ScriptFile file(script_text(calls));
  if (ec::failed(IFWBase::instance()->init())) {
    throw std::runtime_error("the library does not start");
  }
  register_functions(engine());
  const ec::EC result = engine().load_script(file.path());
  IFWBase::instance()->release();
  return result;
}

ScriptRun::ScriptRun(const std::string& calls, const std::string& data)
    : m_file(script_text(calls, data)) {
  const ec::EC loaded = engine().load_script(m_file.path());
  if (ec::failed(loaded)) {
    throw std::runtime_error(std::string("the script does not load: ") + ec::name(loaded));
  }
  m_log.clear();
  m_result = engine().exec_scommad("run", &environment);
}

std::string ScriptRun::error() const {
  std::vector<std::string> errors;
  for (const fwbase::test::Record& record : m_log.records()) {
    if (record.level == IRunLog::ERROR) {
      errors.push_back(fwbase::test::utf8(record.message));
    }
  }
  return errors.size() == 1 ? errors.front() : std::to_string(errors.size()) + " errors";
}

std::string ScriptRun::value(const char* name) {
  return shown([&](IScript::VType type, void* out) {
    return engine().get_value_env(name, type, out, &environment);
  });
}

std::string ScriptRun::global(const char* name) {
  return shown([&](IScript::VType type, void* out) { return engine().get_value(name, type, out); });
}

std::string ScriptRun::saved() {
  const ec::EC saved = engine().save_script();
  return ec::succeeded(saved) ? m_file.text() : ec::name(saved);
}

}  // namespace fwstd::test
