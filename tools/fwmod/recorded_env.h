// A global environment that records what the library stores in it.
#ifndef FWMOD_RECORDED_ENV_H
#define FWMOD_RECORDED_ENV_H

#include <map>
#include <set>
#include <string>
#include <utility>

#include <fwbase/iglobal_env.h>

#include "loading.h"
#include "support/mutex.h"

namespace fwmod {

/// Forwards every operation, and remembers the stored addresses and objects. Strings are copies,
/// and harmless.
class RecordedEnv final : public fwbase::IGlobalEnv {
 public:
  /// name   such as "the default environment"
  RecordedEnv(fwbase::IGlobalEnv& inner, std::string name)
      : m_inner(inner), m_name(std::move(name)) {}

  const std::string& name() const { return m_name; }

  /// Lists objects whose code is in the library, and addresses in the library or of released
  /// modules. True when there is such an object.
  bool list(Findings& findings, const LibrarySegments& library,
            const std::set<const void*>& released);

  ec::EC init() override;
  void release() override;
  ec::EC insert_str(const char* name, const char* val) override {
    return m_inner.insert_str(name, val);
  }
  const std::string& get_str(const char* name) override { return m_inner.get_str(name); }
  ec::EC get_str(const char* name, const char*& val) override { return m_inner.get_str(name, val); }
  ec::EC mod_str(const char* name, const char* val) override { return m_inner.mod_str(name, val); }
  ec::EC ex_str(const char* name, const char* nval, bool end) override {
    return m_inner.ex_str(name, nval, end);
  }
  void rm_str(const char* name) override { m_inner.rm_str(name); }
  ec::EC insert_addr(const char* name, void* val) override {
    return store(name, val, &IGlobalEnv::insert_addr);
  }
  void* get_addr(const char* name) override { return m_inner.get_addr(name); }
  ec::EC get_addr(const char* name, void*& val) override { return m_inner.get_addr(name, val); }
  ec::EC mod_addr(const char* name, void* val) override {
    return store(name, val, &IGlobalEnv::mod_addr);
  }
  void rm_addr(const char* name) override {
    remove(&RecordedEnv::m_addresses, name, &IGlobalEnv::rm_addr);
  }
  ec::EC insert_obj(const char* name, const IObject* object) override {
    return store(name, object, &IGlobalEnv::insert_obj);
  }
  ec::EC get_obj(const char* name, IObject** object) override {
    return m_inner.get_obj(name, object);
  }
  ec::EC mod_obj(const char* name, const IObject* object) override;
  void rm_obj(const char* name) override {
    remove(&RecordedEnv::m_objects, name, &IGlobalEnv::rm_obj);
  }

 private:
  typedef std::map<std::string, const void*> Stored;
  typedef ec::EC (IGlobalEnv::*StoreAddress)(const char*, void*);
  typedef ec::EC (IGlobalEnv::*StoreObject)(const char*, const IObject*);
  typedef void (IGlobalEnv::*Remove)(const char*);

  ec::EC store(const char* name, void* address, StoreAddress operation);
  ec::EC store(const char* name, const IObject* object, StoreObject operation);
  void remove(Stored RecordedEnv::*stored, const char* name, Remove operation);
  void forget() FWBASE_REQUIRES(m_mutex) {
    m_addresses.clear();
    m_objects.clear();
  }

  fwbase::IGlobalEnv& m_inner;
  const std::string m_name;
  support::Mutex m_mutex;  // held while something is stored: the records follow the tables
  Stored m_addresses FWBASE_GUARDED_BY(m_mutex);
  Stored m_objects FWBASE_GUARDED_BY(m_mutex);  // the stored copies
};

}  // namespace fwmod

#endif
