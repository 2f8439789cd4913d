#include "watch/watched_modules.h"

#include "support/text.h"
#include "watch/manager_lock.h"

namespace fwmod {

namespace {

typedef std::lock_guard<std::mutex> Guard;

}  // namespace

void WatchedModules::refuse_inside(const char* operation) const {
  if (ManagerLock::is_held_by_this_thread()) {
    m_findings.fault(std::string("calls the module manager's ") + operation + "() " +
                     m_findings.place() +
                     ": the manager's lock is held there, and the call runs in the middle of the "
                     "operation around it");
  }
}

void WatchedModules::list(const LibrarySegments& library, const std::set<const void*>& released) {
  const Guard guard(m_mutex);
  for (const auto& [id, numbered] : m_numbers) {
    const std::string identifier = "identifier " + std::to_string(id) + ": ";
    if (released.contains(numbered.module)) {
      m_findings.left(identifier +
                      "it names the released module; whoever made it takes it back with "
                      "destroy_mid(), before the module is destroyed");
    } else if (library.contain(numbered.vtable)) {
      m_findings.left(identifier +
                      "it names a module whose code is in the library; whoever made it takes it "
                      "back with destroy_mid(), before the module is destroyed");
    }
  }
  for (const auto& [module, origin] : m_modules) {
    m_findings.left("module made by " + origin +
                    ": still valid; whoever made it destroys it with destroy_module()");
  }
}

void WatchedModules::forget() {
  const Guard guard(m_mutex);
  m_modules.clear();
  m_numbers.clear();
}

ec::EC WatchedModules::init() {
  refuse_inside("init");
  forget();
  return m_inner.init();
}

void WatchedModules::release() {
  refuse_inside("release");
  forget();
  m_inner.release();
}

ec::EC WatchedModules::remember(ec::EC result, IBase* module, const std::string& origin) {
  if (ec::succeeded(result)) {
    const Guard guard(m_mutex);
    m_modules.emplace(module, origin);
  }
  return result;
}

ec::EC WatchedModules::create_module(IBase*& out, const char* path, const char* fname, void* arg) {
  refuse_inside("create_module");
  const ec::EC result = m_inner.create_module(out, path, fname, arg);
  return remember(result, out,
                  ec::succeeded(result) ? std::string(fname) + "() of " + tools::quoted(path) : "");
}

ec::EC WatchedModules::create_module(IBase*& out, IFactory* factory, void* arg) {
  refuse_inside("create_module");
  return remember(m_inner.create_module(out, factory, arg), out, "a factory");
}

ec::EC WatchedModules::create_module(IBase*& out, IBase* (*fn)(), void* arg) {
  refuse_inside("create_module");
  return remember(m_inner.create_module(out, fn, arg), out, "a function");
}

fwbase::IMM::IFactory* WatchedModules::get_module_factory(IBase* m) const {
  refuse_inside("get_module_factory");
  return m_inner.get_module_factory(m);
}

bool WatchedModules::is_valid(IBase* m) const {
  refuse_inside("is_valid");
  return m_inner.is_valid(m);
}

bool WatchedModules::destroy_module(IBase* m) {
  refuse_inside("destroy_module");
  {
    const Guard guard(m_mutex);
    m_modules.erase(m);
  }
  return m_inner.destroy_module(m);
}

void WatchedModules::remember_number(unsigned int id, IBase* module) {
  const Guard guard(m_mutex);
  m_numbers[id] = {module, vtable_of(module)};
}

bool WatchedModules::create_mid(unsigned int id, IBase* m) {
  refuse_inside("create_mid");
  const bool created = m_inner.create_mid(id, m);
  if (created) {
    remember_number(id, m);
  }
  return created;
}

unsigned int WatchedModules::auto_create_mid(IBase* m) {
  refuse_inside("auto_create_mid");
  const unsigned int id = m_inner.auto_create_mid(m);
  if (m != nullptr && id != 0) {
    remember_number(id, m);
  }
  return id;
}

void WatchedModules::destroy_mid(unsigned int id) {
  refuse_inside("destroy_mid");
  {
    const Guard guard(m_mutex);
    m_numbers.erase(id);
  }
  m_inner.destroy_mid(id);
}

fwbase::IMM::IBase* WatchedModules::query_mid(unsigned int id) const {
  refuse_inside("query_mid");
  return m_inner.query_mid(id);
}

}  // namespace fwmod
