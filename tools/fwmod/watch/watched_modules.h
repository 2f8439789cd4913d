// The module manager as the library sees it.
#ifndef FWMOD_WATCH_WATCHED_MODULES_H
#define FWMOD_WATCH_WATCHED_MODULES_H

#include <map>
#include <mutex>
#include <set>
#include <string>

#include <fwbase/imm.h>

#include "findings.h"
#include "library_segments.h"

namespace fwmod {

/// Passes everything on and remembers what the library created and numbered. A call from within a
/// module's init() or release(), or the like, would run in the middle of the manager's operation:
/// it is reported instead.
class WatchedModules final : public fwbase::IMM {
 public:
  WatchedModules(fwbase::IMM& inner, Findings& findings) : m_inner(inner), m_findings(findings) {}

  /// Says which identifiers name a released module or one whose code is in the library, and which
  /// modules are still valid.
  void list(const LibrarySegments& library, const std::set<const void*>& released);

  ec::EC init() override;
  void release() override;
  ec::EC create_module(IBase*& out, const char* path, const char* fname, void* arg) override;
  ec::EC create_module(IBase*& out, IFactory* factory, void* arg) override;
  ec::EC create_module(IBase*& out, IBase* (*fn)(), void* arg) override;
  IFactory* get_module_factory(IBase* m) const override;
  bool is_valid(IBase* m) const override;
  bool destroy_module(IBase* m) override;
  bool create_mid(unsigned int id, IBase* m) override;
  unsigned int auto_create_mid(IBase* m) override;
  void destroy_mid(unsigned int id) override;
  IBase* query_mid(unsigned int id) const override;

 private:
  struct Numbered {
    const void* module;
    const void* vtable;  // of when it was numbered: the module may be gone
  };

  void refuse_inside(const char* operation) const;
  ec::EC remember(ec::EC result, IBase* module, const std::string& origin);
  void remember_number(unsigned int id, IBase* module);
  void forget();

  fwbase::IMM& m_inner;
  Findings& m_findings;
  std::mutex m_mutex;
  std::map<const void*, std::string> m_modules;  // with what made them
  std::map<unsigned int, Numbered> m_numbers;
};

}  // namespace fwmod

#endif
