// Removes a record before its module or identifier: after that another thread may get the same
// number or address.
#include "recorded_modules.h"

#include "command_line/text.h"

namespace fwmod {

fwbase::IMM& RecordedModules::inner_for(const char* operation) const {
  if (holds_manager_lock) {
    m_findings.fault(std::string("calls the module manager's ") + operation + "() " +
                     m_findings.place() +
                     ": the manager's lock is held there, and the call runs in the middle of the "
                     "operation around it");
  }
  return m_inner;
}

void RecordedModules::list(const LibrarySegments& library, const std::set<const void*>& released) {
  const support::MutexGuard guard(m_mutex);
  for (const auto& [id, numbered] : m_numbers) {
    const bool is_released = released.contains(numbered.module);
    if (is_released || library.contain(numbered.vtable)) {
      m_findings.left(
          "identifier " + std::to_string(id) + ": it names " +
          (is_released ? "the released module" : "a module whose code is in the library") +
          "; whoever made it takes it back with destroy_mid(), before the module is "
          "destroyed");
    }
  }
  for (const auto& [module, origin] : m_modules) {
    m_findings.left("module made by " + origin +
                    ": still valid; whoever made it destroys it with destroy_module()");
  }
}

void RecordedModules::forget() {
  const support::MutexGuard guard(m_mutex);
  m_modules.clear();
  m_numbers.clear();
}

ec::EC RecordedModules::init() {
  fwbase::IMM& inner = inner_for("init");
  forget();
  return inner.init();
}

void RecordedModules::release() {
  fwbase::IMM& inner = inner_for("release");
  forget();
  inner.release();
}

ec::EC RecordedModules::remember(ec::EC result, IBase* module, const std::string& origin) {
  if (ec::succeeded(result)) {
    const support::MutexGuard guard(m_mutex);
    m_modules.emplace(module, origin);
  }
  return result;
}

ec::EC RecordedModules::create_module(IBase*& out, const char* path, const char* fname, void* arg) {
  const ec::EC result = inner_for("create_module").create_module(out, path, fname, arg);
  return remember(result, out,
                  ec::succeeded(result) ? std::string(fname) + "() of " + tools::quoted(path) : "");
}

bool RecordedModules::destroy_module(IBase* m) {
  fwbase::IMM& inner = inner_for("destroy_module");
  {
    const support::MutexGuard guard(m_mutex);
    m_modules.erase(m);
  }
  return inner.destroy_module(m);
}

bool RecordedModules::remember_number(bool created, unsigned int id, IBase* module) {
  if (created) {
    const support::MutexGuard guard(m_mutex);
    m_numbers[id] = {module, vtable_of(module)};
  }
  return created;
}

void RecordedModules::destroy_mid(unsigned int id) {
  fwbase::IMM& inner = inner_for("destroy_mid");
  {
    const support::MutexGuard guard(m_mutex);
    m_numbers.erase(id);
  }
  inner.destroy_mid(id);
}

}  // namespace fwmod
