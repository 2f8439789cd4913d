// The facade: owns the built-in components, hands out the installed ones.
#ifndef FWBASE_CFWBASE_H
#define FWBASE_CFWBASE_H

#include <atomic>
#include <map>

#include <fwbase/ifwbase.h>

#include "fwbase/data_block/data_block_factory.h"
#include "fwbase/global_env/global_env.h"
#include "fwbase/module/module_manage.h"
#include "fwbase/runlog/log_process.h"
#include "fwbase/script/script.h"
#include "support/rw_lock.h"

namespace fwbase {

class CFWBase final : public IFWBase {
 public:
  ec::EC init() override;
  void release() override;

  IRunLog* runlog() const override;
  IRunLog* runlog(IRunLog* replacement) override;
  IGlobalEnv* global_env() const override;
  IGlobalEnv* global_env(IGlobalEnv* replacement) override;
  ec::EC create_global_env(IGlobalEnv*& env, void* key) override;
  IGlobalEnv* global_env(void* key) const override;
  void destroy_global_env(void* key) override;
  IMM* mm() const override;
  IMM* mm(IMM* replacement) override;
  IScript* script() const override;
  IScript* script(IScript* replacement) override;
  IDataBlockFT* db_ft() const override;
  IDataBlockFT* db_ft(IDataBlockFT* replacement) override;

  /// For what hosts ask of the built-in engine beside IScript.
  CScript& built_in_script() { return m_script_engine; }

  /// The same of the built-in log.
  CLogProcess& built_in_log() { return m_log; }

  /// For the end of the process: writes what is queued in the run log and ends its thread. The
  /// facade stays usable, for threads that are still running and destructors that come later.
  void finish_log();

 private:
  template <typename Component>
  Component* install(std::atomic<Component*>& installed, Component* replacement,
                     Component& built_in);
  bool insert_env(void* key, CGlobalEnvImpl* env);

  // Written under the lock. Read without it: a component asks for the run log while it holds its
  // own lock, and release() holds this lock while it waits for the locks of environments.
  std::atomic<IRunLog*> m_runlog{nullptr};
  std::atomic<IGlobalEnv*> m_global_env{nullptr};
  std::atomic<IMM*> m_mm{nullptr};
  std::atomic<IScript*> m_script{nullptr};
  std::atomic<IDataBlockFT*> m_db_ft{nullptr};
  std::map<void*, CGlobalEnvImpl*> m_envs FWBASE_GUARDED_BY(m_lock);  // owned

  CLogProcess m_log;
  CGlobalEnvImpl m_env{nullptr};
  CModuleManage m_module;
  CScript m_script_engine;
  CDataBlockFT m_block_factory;
  mutable support::RwLock m_lock{support::LockRank::kFacade};
};

}  // namespace fwbase

#endif
