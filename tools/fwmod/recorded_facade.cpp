// The library gets this facade and these components instead of the real ones, which they forward
// to.
#include "recorded_facade.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>

#include "command_line/text.h"

using fwbase::IFWBase;
using fwbase::IGlobalEnv;

namespace {

std::atomic<IFWBase*> recording = nullptr;

}  // namespace

IFWBase* IFWBase::instance() {
  IFWBase* const facade = recording;
  return facade != nullptr ? facade : fwmod::plain_facade();
}

namespace fwmod {

void RecordedLog::write(Type type, const char* message, const char* location) {
  if (type == ERROR && message != nullptr) {
    m_findings.logged(message);
  }
  inner().write(type, message, location);
}

void RecordedScript::list(const LibrarySegments& library, Findings& findings) {
  const support::MutexGuard guard(m_mutex);
  for (const auto& [name, object] : m_functions) {
    findings.left("script function " + tools::quoted(name) +
                  ": only the engine's own release() takes it back; " +
                  (library.contain(object)
                       ? "run no section after the module's release()"
                       : "its object may be gone by then: make it a static one"));
  }
}

ec::EC RecordedScript::init() {
  forget();
  return inner().init();
}

void RecordedScript::release() {
  forget();
  inner().release();
}

void RecordedScript::forget() {
  const support::MutexGuard guard(m_mutex);
  m_functions.clear();
}

bool RecordedScript::expand_syntax(ISyntax* syntax) {
  const bool registered = inner().expand_syntax(syntax);
  if (registered) {
    const support::MutexGuard guard(m_mutex);
    m_functions.emplace_back(tools::readable(syntax->name()), syntax);
  }
  return registered;
}

IFWBase* plain_facade() {
  typedef IFWBase* (*Instance)();
  static const Instance instance =
      reinterpret_cast<Instance>(dlsym(RTLD_NEXT, "_ZN6fwbase7IFWBase8instanceEv"));
  return instance();
}

RecordedFacade::RecordedFacade(Findings& findings)
    : m_inner(*plain_facade()),
      m_findings(findings),
      m_db_ft(m_inner.db_ft()),
      m_log(*m_inner.runlog(), findings),
      m_env(*m_inner.global_env(), "the default environment"),
      m_modules(*m_inner.mm(), findings),
      m_script(*m_inner.script()) {
  m_inner.runlog(&m_log);
  m_inner.global_env(static_cast<IGlobalEnv*>(&m_env));
  m_inner.mm(&m_modules);
  m_inner.script(&m_script);
  recording = this;
}

RecordedFacade::~RecordedFacade() { recording = nullptr; }

bool RecordedFacade::list(const LibrarySegments& library, const std::set<const void*>& released) {
  m_script.list(library, m_findings);
  bool any_object = m_env.list(m_findings, library, released);
  {
    const support::MutexGuard guard(m_mutex);
    for (auto& [key, env] : m_envs) {
      any_object = env.list(m_findings, library, released) || any_object;
      m_findings.left(env.name() +
                      ": it still exists; whoever made it destroys it with destroy_global_env()");
    }
  }
  m_modules.list(library, released);
  return list_installed() || any_object;
}

bool RecordedFacade::list_installed() {
  const struct {
    const char* role;
    bool is_ours;
  } kRoles[] = {{"run log", m_inner.runlog() == &m_log},
                {"default environment", m_inner.global_env() == &m_env},
                {"module manager", m_inner.mm() == &m_modules},
                {"script engine", m_inner.script() == &m_script},
                {"data block factory", m_inner.db_ft() == m_db_ft}};
  bool any = false;
  for (const auto& one : kRoles) {
    if (!one.is_ours) {
      any = true;
      m_findings.left(std::string(one.role) +
                      ": the one that it installed is still in use; install the former one again "
                      "in release()");
    }
  }
  return any;
}

void RecordedFacade::refuse(const std::string& operation, const char* purpose) {
  m_findings.fault("calls the facade's " + operation + " " + m_findings.place() +
                   ": the facade is the host's to " + purpose);
}

ec::EC RecordedFacade::create_global_env(IGlobalEnv*& env, void* key) {
  IGlobalEnv* made = nullptr;
  const ec::EC result = m_inner.create_global_env(made, key);
  if (ec::succeeded(result)) {
    char name[64];
    std::snprintf(name, sizeof name, "the environment of key %p", key);
    const support::MutexGuard guard(m_mutex);
    m_envs.erase(key);
    env = &m_envs.try_emplace(key, *made, name).first->second;
  }
  return result;
}

IGlobalEnv* RecordedFacade::global_env(void* key) const {
  const support::MutexGuard guard(m_mutex);
  const auto found = m_envs.find(key);
  return found != m_envs.end() ? &found->second : m_inner.global_env(key);
}

void RecordedFacade::destroy_global_env(void* key) {
  // Destroyed last: until the inner one is gone, a user may hold the one that records.
  const auto removed = [&] {
    const support::MutexGuard guard(m_mutex);
    return m_envs.extract(key);
  }();
  m_inner.destroy_global_env(key);
}

}  // namespace fwmod
