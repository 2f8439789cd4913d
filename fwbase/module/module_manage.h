// The built-in module manager.
#ifndef FWBASE_MODULE_MODULE_MANAGE_H
#define FWBASE_MODULE_MODULE_MANAGE_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <fwbase/imm.h>

#include "fwbase/module/library.h"
#include "support/rw_lock.h"

namespace fwbase {

class CModuleManage final : public IMM {
 public:
  ~CModuleManage() override;

  ec::EC init() override;
  void release() override;

  // module_manage.cpp
  ec::EC create_module(IBase*& out, const char* path, const char* fname, void* arg) override;
  ec::EC create_module(IBase*& out, IFactory* factory, void* arg) override;
  ec::EC create_module(IBase*& out, IBase* (*fn)(), void* arg) override;
  IFactory* get_module_factory(IBase* m) const override;
  bool is_valid(IBase* m) const override;
  bool destroy_module(IBase* m) override;

  // module_identifiers.cpp
  bool create_mid(unsigned int id, IBase* m) override;
  unsigned int auto_create_mid(IBase* m) override;
  void destroy_mid(unsigned int id) override;
  IBase* query_mid(unsigned int id) const override;

 private:
  /// The library and the function that created a module. Both are "NULL" when the host passed the
  /// function itself.
  struct ModuleInfo {
    std::string path;
    std::string fname;
  };

  using DirectModules = std::map<IBase*, ModuleInfo>;
  using FactoryModules = std::map<IBase*, IFactory*>;
  using Libraries = std::map<std::string, std::unique_ptr<Library>, std::less<>>;

  static constexpr std::uint32_t kLastReservedMid = 0x10000;

  Library* open_library(const char* path, const char* fname) FWBASE_REQUIRES(m_lock);
  ec::EC create_module(IBase*& out, CreateFun fn, void* arg, const char* path, const char* fname)
      FWBASE_REQUIRES(m_lock);
  bool do_is_valid(IBase* m) const FWBASE_REQUIRES_SHARED(m_lock);
  void release_factory_modules() FWBASE_REQUIRES(m_lock);
  void release_direct_modules() FWBASE_REQUIRES(m_lock);
  void close_libraries() FWBASE_REQUIRES(m_lock);
  void forget_libraries() FWBASE_REQUIRES(m_lock);

  DirectModules m_direct_modules FWBASE_GUARDED_BY(m_lock);
  FactoryModules m_factory_modules FWBASE_GUARDED_BY(m_lock);
  Libraries m_libraries FWBASE_GUARDED_BY(m_lock);  // failed ones included
  std::map<std::uint32_t, IBase*> m_mids FWBASE_GUARDED_BY(m_lock);
  std::uint32_t m_last_auto_mid FWBASE_GUARDED_BY(m_lock) = kLastReservedMid;
  mutable support::RwLock m_lock{support::LockRank::kModules};
};

}  // namespace fwbase

#endif
