// Mirrors the environment's tables. Asking the environment for an object would copy it, and so run
// code of the library.
#include "recorded_env.h"

#include "command_line/text.h"

namespace fwmod {

namespace {

using fwbase::IGlobalEnv;

// Stands in for an object while the environment copies it, and keeps a pointer to the copy, which
// the environment stores.
class Copied final : public IGlobalEnv::IObject {
 public:
  explicit Copied(const IObject& object) : m_object(object) {}

  const char* describe() const override { return m_object.describe(); }
  IObject* clone() const override { return m_copy = m_object.clone(); }
  void release() override {}

  const IObject* copy() const { return m_copy; }

 private:
  const IObject& m_object;
  mutable IObject* m_copy = nullptr;
};

}  // namespace

bool RecordedEnv::list(Findings& findings, const LibrarySegments& library,
                       const std::set<const void*>& released) {
  const support::MutexGuard guard(m_mutex);
  const auto left = [&](const char* kind, const std::string& name, const char* why) {
    findings.left(kind + tools::quoted(tools::readable(name)) + " in " + m_name + ": " + why +
                  "; remove it in release()");
  };
  bool any_object = false;
  for (const auto& [name, object] : m_objects) {
    if (library.contain(vtable_of(object))) {
      any_object = true;
      left("object ", name,
           "its code is in the library, which is unloaded before environments are emptied");
    }
  }
  for (const auto& [name, address] : m_addresses) {
    if (released.contains(address)) {
      left("address ", name, "it is that of the released module");
    } else if (library.contain(address)) {
      left("address ", name, "it points into the library, which is unloaded");
    }
  }
  return any_object;
}

ec::EC RecordedEnv::init() {
  const support::MutexGuard guard(m_mutex);
  forget();
  return m_inner.init();
}

void RecordedEnv::release() {
  const support::MutexGuard guard(m_mutex);
  forget();
  m_inner.release();
}

ec::EC RecordedEnv::store(const char* name, void* address, StoreAddress operation) {
  const support::MutexGuard guard(m_mutex);
  const ec::EC result = (m_inner.*operation)(name, address);
  if (ec::succeeded(result)) {
    m_addresses[name] = address;
  }
  return result;
}

ec::EC RecordedEnv::store(const char* name, const IObject* object, StoreObject operation) {
  if (object == nullptr) {
    return (m_inner.*operation)(name, object);
  }
  const support::MutexGuard guard(m_mutex);
  const Copied copied(*object);
  const ec::EC result = (m_inner.*operation)(name, &copied);
  if (ec::succeeded(result)) {
    m_objects[name] = copied.copy();
  }
  return result;
}

ec::EC RecordedEnv::mod_obj(const char* name, const IObject* object) {
  if (name != nullptr && object != nullptr) {
    const support::MutexGuard guard(m_mutex);
    m_objects.erase(name);  // released, whether the copying succeeds or not
  }
  return store(name, object, &IGlobalEnv::mod_obj);
}

void RecordedEnv::remove(Stored RecordedEnv::*stored, const char* name, Remove operation) {
  const support::MutexGuard guard(m_mutex);
  if (name != nullptr) {
    (this->*stored).erase(name);
  }
  (m_inner.*operation)(name);
}

}  // namespace fwmod
