// The facade, run log and script engine that the library sees. They record what it leaves in them.
#ifndef FWMOD_RECORDED_FACADE_H
#define FWMOD_RECORDED_FACADE_H

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <fwbase/ifwbase.h>

#include "command_line/forwarding.h"
#include "recorded_env.h"
#include "recorded_modules.h"
#include "support/mutex.h"

namespace fwmod {

/// Forwards every operation, and keeps the messages at ERROR, which is always enabled.
class RecordedLog final : public tools::ForwardingLog {
 public:
  RecordedLog(fwbase::IRunLog& log, Findings& findings) : ForwardingLog(log), m_findings(findings) {
    log.type(ERROR);
  }

  void type(unsigned int mask) override { inner().type(mask | ERROR); }
  void write(Type type, const char* message, const char* location) override;

 private:
  Findings& m_findings;
};

/// Forwards every operation, and remembers the functions.
class RecordedScript final : public tools::ForwardingScript {
 public:
  using ForwardingScript::ForwardingScript;

  /// Lists the registered functions, and says which of them are no static objects of the library.
  void list(const LibrarySegments& library, Findings& findings);

  ec::EC init() override;
  void release() override;
  bool expand_syntax(ISyntax* syntax) override;

 private:
  void forget();

  support::Mutex m_mutex;
  std::vector<std::pair<std::string, const void*>> m_functions
      FWBASE_GUARDED_BY(m_mutex);  // in the order of registration
};

/// The real facade, which records nothing.
fwbase::IFWBase* plain_facade();

/// Forwards to the real facade, into which it installs components that record. While it lives,
/// fwbase::IFWBase::instance() returns it: the program's own definition of that function is found
/// first. So it also records environments with a key, from their creation on.
class RecordedFacade final : public fwbase::IFWBase {
 public:
  /// The real facade must be in service.
  explicit RecordedFacade(Findings& findings);
  ~RecordedFacade() override;
  RecordedFacade(const RecordedFacade&) = delete;
  RecordedFacade& operator=(const RecordedFacade&) = delete;

  /// Lists what the library left behind. True when the facade's release() would run code of the
  /// library.
  bool list(const LibrarySegments& library, const std::set<const void*>& released);

  ec::EC init() override { refuse("init()", "start"); }
  void release() override { refuse("release()", "stop"); }
  // Null stands for the built-in component, and here for the one that records.
  fwbase::IRunLog* runlog() const override { return m_inner.runlog(); }
  fwbase::IRunLog* runlog(fwbase::IRunLog* replacement) override {
    return m_inner.runlog(replacement != nullptr ? replacement : &m_log);
  }
  fwbase::IGlobalEnv* global_env() const override { return m_inner.global_env(); }
  fwbase::IGlobalEnv* global_env(fwbase::IGlobalEnv* replacement) override {
    return m_inner.global_env(replacement != nullptr ? replacement : &m_env);
  }
  ec::EC create_global_env(fwbase::IGlobalEnv*& env, void* key) override;
  fwbase::IGlobalEnv* global_env(void* key) const override;
  void destroy_global_env(void* key) override;
  fwbase::IMM* mm() const override { return m_inner.mm(); }
  fwbase::IMM* mm(fwbase::IMM* replacement) override {
    return m_inner.mm(replacement != nullptr ? replacement : &m_modules);
  }
  fwbase::IScript* script() const override { return m_inner.script(); }
  fwbase::IScript* script(fwbase::IScript* replacement) override {
    return m_inner.script(replacement != nullptr ? replacement : &m_script);
  }
  fwbase::IDataBlockFT* db_ft() const override { return m_inner.db_ft(); }
  fwbase::IDataBlockFT* db_ft(fwbase::IDataBlockFT* replacement) override {
    return m_inner.db_ft(replacement);
  }

 private:
  [[noreturn]] void refuse(const std::string& operation, const char* purpose);
  bool list_installed();

  fwbase::IFWBase& m_inner;
  Findings& m_findings;
  fwbase::IDataBlockFT* const m_db_ft;
  RecordedLog m_log;
  RecordedEnv m_env;
  RecordedModules m_modules;
  RecordedScript m_script;
  mutable support::Mutex m_mutex;
  mutable std::map<void*, RecordedEnv> m_envs FWBASE_GUARDED_BY(m_mutex);
};

}  // namespace fwmod

#endif
