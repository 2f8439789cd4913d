#include "watch/watched_env.h"

#include <utility>

#include "support/text.h"

namespace fwmod {

namespace {

using fwbase::IGlobalEnv;
typedef std::lock_guard<std::mutex> Guard;

// Stands for an object while the environment copies it, and keeps a pointer to the copy, which is
// what the environment stores.
class Copied final : public IGlobalEnv::IObject {
 public:
  explicit Copied(const IObject& object) : m_object(object) {}

  const char* describe() const override { return m_object.describe(); }
  IObject* clone() const override {
    IObject* const copy = m_object.clone();
    m_copy = copy;
    return copy;
  }
  void release() override {}

  const IObject* copy() const { return m_copy; }

 private:
  const IObject& m_object;
  mutable const IObject* m_copy = nullptr;
};

}  // namespace

std::string WatchedEnv::in_here(const char* kind, const std::string& name) const {
  return kind + (" " + tools::quoted(tools::readable(name))) + " in " + m_name + ": ";
}

bool WatchedEnv::list(Findings& findings, const LibrarySegments& library,
                      const std::set<const void*>& released) {
  const Guard guard(m_mutex);
  bool any_object = false;
  for (const auto& [name, object] : m_objects) {
    if (library.contain(vtable_of(object))) {
      any_object = true;
      findings.left(in_here("object", name) +
                    "its code is in the library, which is unloaded before environments are "
                    "emptied; remove it in release()");
    }
  }
  for (const auto& [name, address] : m_addresses) {
    if (released.contains(address)) {
      findings.left(in_here("address", name) +
                    "it is that of the released module; remove it in release()");
    } else if (library.contain(address)) {
      findings.left(in_here("address", name) +
                    "it points into the library, which is unloaded; remove it in release()");
    }
  }
  return any_object;
}

void WatchedEnv::forget() {
  m_addresses.clear();
  m_objects.clear();
}

ec::EC WatchedEnv::init() {
  const Guard guard(m_mutex);
  forget();
  return m_inner.init();
}

void WatchedEnv::release() {
  const Guard guard(m_mutex);
  forget();
  m_inner.release();
}

ec::EC WatchedEnv::insert_addr(const char* name, void* val) {
  const Guard guard(m_mutex);
  const ec::EC result = m_inner.insert_addr(name, val);
  if (ec::succeeded(result)) {
    m_addresses[name] = val;
  }
  return result;
}

ec::EC WatchedEnv::mod_addr(const char* name, void* val) {
  const Guard guard(m_mutex);
  const ec::EC result = m_inner.mod_addr(name, val);
  if (ec::succeeded(result)) {
    m_addresses[name] = val;
  }
  return result;
}

void WatchedEnv::rm_addr(const char* name) {
  const Guard guard(m_mutex);
  if (name != nullptr) {
    m_addresses.erase(name);
  }
  m_inner.rm_addr(name);
}

ec::EC WatchedEnv::insert_obj(const char* name, const IObject* object) {
  if (object == nullptr) {
    return m_inner.insert_obj(name, object);
  }
  const Guard guard(m_mutex);
  const Copied copied(*object);
  const ec::EC result = m_inner.insert_obj(name, &copied);
  if (ec::succeeded(result)) {
    m_objects[name] = copied.copy();
  }
  return result;
}

ec::EC WatchedEnv::mod_obj(const char* name, const IObject* object) {
  if (name == nullptr || object == nullptr) {
    return m_inner.mod_obj(name, object);
  }
  const Guard guard(m_mutex);
  m_objects.erase(name);  // released, whether the copying succeeds or not
  const Copied copied(*object);
  const ec::EC result = m_inner.mod_obj(name, &copied);
  if (ec::succeeded(result)) {
    m_objects[name] = copied.copy();
  }
  return result;
}

void WatchedEnv::rm_obj(const char* name) {
  const Guard guard(m_mutex);
  if (name != nullptr) {
    m_objects.erase(name);
  }
  m_inner.rm_obj(name);
}

}  // namespace fwmod
