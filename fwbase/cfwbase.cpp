// The facade: start and stop order, installed components, keyed environments.
#include "fwbase/cfwbase.h"

#include <memory>
#include <new>

#include "fwbase/runlog/runlog.h"
#include "support/lock_list.h"
#include "utility/text_codec.h"

namespace fwbase {

using support::ReadGuard;
using support::WriteGuard;

namespace {

// From then on, a child that the host forks can use the facade. Without memory for that, the next
// init() tries again.
void watch_forks() { support::ListedLock::watch_forks(&utility::prepare_conversions); }

// Holds the facade for the whole process. Its storage is never given back, since other threads of
// the host may log while the process exits; what the exit needs is that no queued record is lost
// and that the writer thread is not left waiting.
class ProcessFacade {
 public:
  // cppcheck-suppress uninitMemberVar  ; the storage becomes the facade
  ProcessFacade() : m_facade(new (m_storage) CFWBase) { watch_forks(); }
  ~ProcessFacade() { m_facade->finish_log(); }
  ProcessFacade(const ProcessFacade&) = delete;
  ProcessFacade& operator=(const ProcessFacade&) = delete;

  IFWBase* get() const { return m_facade; }

 private:
  alignas(CFWBase) unsigned char m_storage[sizeof(CFWBase)];
  CFWBase* m_facade;
};

}  // namespace

IFWBase* IFWBase::instance() {
  static ProcessFacade facade;
  return facade.get();
}

ec::EC CFWBase::init() {
  watch_forks();
  {
    const WriteGuard guard(m_lock);
    m_runlog = &m_log;
    m_global_env = &m_env;
    m_mm = &m_module;
    m_script = &m_script_engine;
    m_db_ft = &m_block_factory;
  }
  ec::EC result = m_log.init();
  if (ec::succeeded(result)) {
    result = m_env.init();
  }
  if (ec::succeeded(result)) {
    result = m_module.init();
  }
  if (ec::succeeded(result)) {
    result = m_script_engine.init();
  }
  if (ec::succeeded(result)) {
    result = m_block_factory.init();
  }
  return ec::succeeded(result) ? ec::FW_OK : result;
}

void CFWBase::release() {
  m_block_factory.release();
  m_module.release();
  m_script_engine.release();
  m_env.release();
  m_log.release();

  const WriteGuard guard(m_lock);
  m_runlog = nullptr;
  m_global_env = nullptr;
  m_mm = nullptr;
  m_script = nullptr;
  m_db_ft = nullptr;
  while (!m_envs.empty()) {
    const std::unique_ptr<CGlobalEnvImpl> env(m_envs.begin()->second);
    m_envs.erase(m_envs.begin());
    env->release();
  }
}

void CFWBase::finish_log() { m_log.finish(); }

template <typename Component>
Component* CFWBase::install(std::atomic<Component*>& installed, Component* replacement,
                            Component& built_in) {
  const WriteGuard guard(m_lock);
  return installed.exchange(replacement != nullptr ? replacement : &built_in);
}

IRunLog* CFWBase::runlog() const { return m_runlog.load(); }
IGlobalEnv* CFWBase::global_env() const { return m_global_env.load(); }
IMM* CFWBase::mm() const { return m_mm.load(); }
IScript* CFWBase::script() const { return m_script.load(); }
IDataBlockFT* CFWBase::db_ft() const { return m_db_ft.load(); }

IRunLog* CFWBase::runlog(IRunLog* replacement) {
  return install<IRunLog>(m_runlog, replacement, m_log);
}

IGlobalEnv* CFWBase::global_env(IGlobalEnv* replacement) {
  return install<IGlobalEnv>(m_global_env, replacement, m_env);
}

IMM* CFWBase::mm(IMM* replacement) { return install<IMM>(m_mm, replacement, m_module); }

IScript* CFWBase::script(IScript* replacement) {
  return install<IScript>(m_script, replacement, m_script_engine);
}

IDataBlockFT* CFWBase::db_ft(IDataBlockFT* replacement) {
  return install<IDataBlockFT>(m_db_ft, replacement, m_block_factory);
}

ec::EC CFWBase::create_global_env(IGlobalEnv*& env, void* key) {
  std::unique_ptr<CGlobalEnvImpl> created(new (std::nothrow) CGlobalEnvImpl(m_global_env.load()));
  if (!created) {
    RUN_LOG(ERROR, "创建CGlobalEnvImpl失败.相关key=0x%x", addr32(key));
    return ec::FW_NO_MEMORY;
  }
  const ec::EC initialised = created->init();
  if (ec::failed(initialised)) {
    return initialised;
  }
  try {
    if (insert_env(key, created.get())) {
      env = created.release();
      return ec::FW_OK;
    }
  } catch (const std::bad_alloc&) {
    created->release();
    RUN_LOG(ERROR, "创建CGlobalEnvImpl失败.相关key=0x%x", addr32(key));
    return ec::FW_NO_MEMORY;
  }
  created->release();
  created.reset();
  RUN_LOG(ERROR, "已存在与0x%x相关的环境实例", addr32(key));
  return ec::FW_ENV_EXISTS;
}

bool CFWBase::insert_env(void* key, CGlobalEnvImpl* env) {
  const WriteGuard guard(m_lock);
  return m_envs.emplace(key, env).second;
}

IGlobalEnv* CFWBase::global_env(void* key) const {
  const ReadGuard guard(m_lock);
  const auto found = m_envs.find(key);
  return found != m_envs.end() ? found->second : m_global_env.load();
}

void CFWBase::destroy_global_env(void* key) {
  std::unique_ptr<CGlobalEnvImpl> removed;
  {
    const WriteGuard guard(m_lock);
    const auto found = m_envs.find(key);
    if (found == m_envs.end()) {
      return;
    }
    removed.reset(found->second);
    m_envs.erase(found);
  }
  removed->release();
}

}  // namespace fwbase
