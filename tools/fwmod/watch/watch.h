// The facade as the library sees it.
#ifndef FWMOD_WATCH_WATCH_H
#define FWMOD_WATCH_WATCH_H

#include <map>
#include <memory>
#include <mutex>
#include <set>

#include <fwbase/ifwbase.h>

#include "findings.h"
#include "library_segments.h"
#include "watch/watched_env.h"
#include "watch/watched_log.h"
#include "watch/watched_modules.h"
#include "watch/watched_script.h"

namespace fwmod {

/// The library's facade, before anything watches it.
fwbase::IFWBase* plain_facade();

/// Passes everything on to the library's facade, with watched components, and is what
/// fwbase::IFWBase::instance() gives while it lives: the program's own definition of that function
/// comes before the library's. So environments with a key are watched from their creation on.
class Watch final : public fwbase::IFWBase {
 public:
  /// The facade must be in service.
  explicit Watch(Findings& findings);
  ~Watch() override;
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// Says what the library left behind. True when the facade's release() would run code that is
  /// gone by then.
  bool list(const LibrarySegments& library, const std::set<const void*>& released);

  ec::EC init() override;
  void release() override;
  fwbase::IRunLog* runlog() const override { return m_inner.runlog(); }
  fwbase::IRunLog* runlog(fwbase::IRunLog* replacement) override;
  fwbase::IGlobalEnv* global_env() const override { return m_inner.global_env(); }
  fwbase::IGlobalEnv* global_env(fwbase::IGlobalEnv* replacement) override;
  ec::EC create_global_env(fwbase::IGlobalEnv*& env, void* key) override;
  fwbase::IGlobalEnv* global_env(void* key) const override;
  void destroy_global_env(void* key) override;
  fwbase::IMM* mm() const override { return m_inner.mm(); }
  fwbase::IMM* mm(fwbase::IMM* replacement) override;
  fwbase::IScript* script() const override { return m_inner.script(); }
  fwbase::IScript* script(fwbase::IScript* replacement) override;
  fwbase::IDataBlockFT* db_ft() const override { return m_inner.db_ft(); }
  fwbase::IDataBlockFT* db_ft(fwbase::IDataBlockFT* replacement) override {
    return m_inner.db_ft(replacement);
  }

 private:
  bool list_installed();

  fwbase::IFWBase& m_inner;
  Findings& m_findings;
  fwbase::IDataBlockFT* const m_db_ft;
  WatchedLog m_log;
  WatchedEnv m_env;
  WatchedModules m_modules;
  WatchedScript m_script;
  mutable std::mutex m_mutex;
  std::map<void*, std::unique_ptr<WatchedEnv>> m_envs;
};

}  // namespace fwmod

#endif
