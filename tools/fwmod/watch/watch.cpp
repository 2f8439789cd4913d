#include "watch/watch.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;

namespace {

std::atomic<IFWBase*> watching = nullptr;

}  // namespace

IFWBase* IFWBase::instance() {
  IFWBase* const watch = watching;
  return watch != nullptr ? watch : fwmod::plain_facade();
}

namespace fwmod {

namespace {

typedef std::lock_guard<std::mutex> Guard;

std::string environment_name(const void* key) {
  char text[64];
  std::snprintf(text, sizeof text, "the environment of key %p", key);
  return text;
}

}  // namespace

IFWBase* plain_facade() {
  typedef IFWBase* (*Instance)();
  static const Instance instance =
      reinterpret_cast<Instance>(dlsym(RTLD_NEXT, "_ZN6fwbase7IFWBase8instanceEv"));
  return instance();
}

Watch::Watch(Findings& findings)
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
  watching = this;
}

Watch::~Watch() { watching = nullptr; }

bool Watch::list(const LibrarySegments& library, const std::set<const void*>& released) {
  m_script.list(library, m_findings);
  bool any_object = m_env.list(m_findings, library, released);
  {
    const Guard guard(m_mutex);
    for (const auto& [key, env] : m_envs) {
      any_object = env->list(m_findings, library, released) || any_object;
      m_findings.left(env->name() +
                      ": it still exists; whoever made it destroys it with destroy_global_env()");
    }
  }
  m_modules.list(library, released);
  return list_installed() || any_object;
}

bool Watch::list_installed() {
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

ec::EC Watch::init() {
  m_findings.fault("calls the facade's init() " + m_findings.place() +
                   ": the facade is the host's to start");
}

void Watch::release() {
  m_findings.fault("calls the facade's release() " + m_findings.place() +
                   ": the facade is the host's to stop");
}

// Null installs the built-in component, and so what watches it.

IRunLog* Watch::runlog(IRunLog* replacement) {
  return m_inner.runlog(replacement != nullptr ? replacement : &m_log);
}

IGlobalEnv* Watch::global_env(IGlobalEnv* replacement) {
  return m_inner.global_env(replacement != nullptr ? replacement : &m_env);
}

IMM* Watch::mm(IMM* replacement) {
  return m_inner.mm(replacement != nullptr ? replacement : &m_modules);
}

IScript* Watch::script(IScript* replacement) {
  return m_inner.script(replacement != nullptr ? replacement : &m_script);
}

ec::EC Watch::create_global_env(IGlobalEnv*& env, void* key) {
  IGlobalEnv* made = nullptr;
  const ec::EC result = m_inner.create_global_env(made, key);
  if (ec::succeeded(result)) {
    const Guard guard(m_mutex);
    std::unique_ptr<WatchedEnv>& watched = m_envs[key];
    watched = std::make_unique<WatchedEnv>(*made, environment_name(key));
    env = watched.get();
  }
  return result;
}

IGlobalEnv* Watch::global_env(void* key) const {
  {
    const Guard guard(m_mutex);
    const auto found = m_envs.find(key);
    if (found != m_envs.end()) {
      return found->second.get();
    }
  }
  return m_inner.global_env(key);
}

void Watch::destroy_global_env(void* key) {
  std::unique_ptr<WatchedEnv> removed;  // its user may still hold it while the inner one goes
  {
    const Guard guard(m_mutex);
    const auto found = m_envs.find(key);
    if (found != m_envs.end()) {
      removed = std::move(found->second);
      m_envs.erase(found);
    }
  }
  m_inner.destroy_global_env(key);
}

}  // namespace fwmod
