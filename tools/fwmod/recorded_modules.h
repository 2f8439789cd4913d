// A module manager that records what the library creates with it.
#ifndef FWMOD_RECORDED_MODULES_H
#define FWMOD_RECORDED_MODULES_H

#include <map>
#include <set>
#include <string>

#include <fwbase/imm.h>

#include "loading.h"
#include "support/mutex.h"

namespace fwmod {

/// Forwards every operation, and remembers the modules and identifiers that the library made. A
/// call from a module's init() or release(), where the manager's lock is held, is a fault.
class RecordedModules final : public fwbase::IMM {
 public:
  RecordedModules(fwbase::IMM& inner, Findings& findings) : m_inner(inner), m_findings(findings) {}

  /// Lists identifiers that name a released module or one whose code is in the library, and modules
  /// that are still valid.
  void list(const LibrarySegments& library, const std::set<const void*>& released);

  ec::EC init() override;
  void release() override;
  ec::EC create_module(IBase*& out, const char* path, const char* fname, void* arg) override;
  ec::EC create_module(IBase*& out, IFactory* factory, void* arg) override {
    return remember(inner_for("create_module").create_module(out, factory, arg), out, "a factory");
  }
  ec::EC create_module(IBase*& out, IBase* (*fn)(), void* arg) override {
    return remember(inner_for("create_module").create_module(out, fn, arg), out, "a function");
  }
  IFactory* get_module_factory(IBase* m) const override {
    return inner_for("get_module_factory").get_module_factory(m);
  }
  bool is_valid(IBase* m) const override { return inner_for("is_valid").is_valid(m); }
  bool destroy_module(IBase* m) override;
  bool create_mid(unsigned int id, IBase* m) override {
    return remember_number(inner_for("create_mid").create_mid(id, m), id, m);
  }
  unsigned int auto_create_mid(IBase* m) override {
    const unsigned int id = inner_for("auto_create_mid").auto_create_mid(m);
    remember_number(id != 0, id, m);
    return id;
  }
  void destroy_mid(unsigned int id) override;
  IBase* query_mid(unsigned int id) const override { return inner_for("query_mid").query_mid(id); }

 private:
  struct Numbered {
    const void* module;
    const void* vtable;  // as it was then: the module may be gone
  };

  fwbase::IMM& inner_for(const char* operation) const;
  ec::EC remember(ec::EC result, IBase* module, const std::string& origin);
  bool remember_number(bool created, unsigned int id, IBase* module);
  void forget();

  fwbase::IMM& m_inner;
  Findings& m_findings;
  support::Mutex m_mutex;
  std::map<const void*, std::string> m_modules FWBASE_GUARDED_BY(m_mutex);  // with what made them
  std::map<unsigned int, Numbered> m_numbers FWBASE_GUARDED_BY(m_mutex);
};

}  // namespace fwmod

#endif
