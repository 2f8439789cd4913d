// One registry of named strings, addresses and objects.
#ifndef FWBASE_GLOBAL_ENV_GLOBAL_ENV_H
#define FWBASE_GLOBAL_ENV_GLOBAL_ENV_H

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include <fwbase/iglobal_env.h>

#include "support/name_hash.h"
#include "support/rw_lock.h"

namespace fwbase {

class CGlobalEnvImpl final : public IGlobalEnv {
 public:
  /// parent   where look-ups go on after a miss; null for none. Not owned.
  explicit CGlobalEnvImpl(IGlobalEnv* parent)
      : m_parent(parent),
        m_lock(parent != nullptr ? support::LockRank::kEnvironment
                                 : support::LockRank::kRootEnvironment) {}

  ec::EC init() override;
  void release() override;

  ec::EC insert_str(const char* name, const char* val) override;
  const std::string& get_str(const char* name) override;
  ec::EC get_str(const char* name, const char*& val) override;
  ec::EC mod_str(const char* name, const char* val) override;
  ec::EC ex_str(const char* name, const char* nval, bool end) override;
  void rm_str(const char* name) override;

  ec::EC insert_addr(const char* name, void* val) override;
  void* get_addr(const char* name) override;
  ec::EC get_addr(const char* name, void*& val) override;
  ec::EC mod_addr(const char* name, void* val) override;
  void rm_addr(const char* name) override;

  ec::EC insert_obj(const char* name, const IObject* object) override;
  ec::EC get_obj(const char* name, IObject** object) override;
  ec::EC mod_obj(const char* name, const IObject* object) override;
  void rm_obj(const char* name) override;

 private:
  // Both kinds of table look a name up without making a string of it.
  template <typename Value>
  using Table = std::unordered_map<std::string, Value, support::NameHash, std::equal_to<>>;

  // Objects are kept, and released, in the order of the bytes of their names.
  using ObjectTable = std::map<std::string, IObject*, std::less<>>;

  ec::EC no_memory(const char* name) const;
  ec::EC no_copy(const char* name) const;

  ObjectTable m_objects FWBASE_GUARDED_BY(m_lock);  // copies, owned; never null
  Table<void*> m_addresses FWBASE_GUARDED_BY(m_lock);
  Table<std::string> m_strings FWBASE_GUARDED_BY(m_lock);
  IGlobalEnv* const m_parent;
  support::RwLock m_lock;
};

}  // namespace fwbase

#endif
