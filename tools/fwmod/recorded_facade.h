// The facade as the library sees it, with the run log and the script engine.
#ifndef FWMOD_RECORDED_FACADE_H
#define FWMOD_RECORDED_FACADE_H

#include <map>
#include <set>
#include <string>
#include <vector>

#include <fwbase/ifwbase.h>

#include "recorded_env.h"
#include "recorded_modules.h"
#include "support/mutex.h"

namespace fwmod {

/// Passes everything on, and keeps the messages at ERROR. That level is always enabled.
class RecordedLog final : public fwbase::IRunLog {
 public:
  RecordedLog(fwbase::IRunLog& inner, Findings& findings) : m_inner(inner), m_findings(findings) {
    m_inner.type(ERROR);
  }

  ec::EC init() override { return m_inner.init(); }
  void type(unsigned int mask) override { m_inner.type(mask | ERROR); }
  void info(unsigned int flags) override { m_inner.info(flags); }
  ec::EC file(const char* path) override { return m_inner.file(path); }
  void asynch(bool on) override { m_inner.asynch(on); }
  void release() override { m_inner.release(); }
  void write(Type type, const char* message, const char* location) override;

 private:
  fwbase::IRunLog& m_inner;
  Findings& m_findings;
};

/// Passes everything on and remembers the functions.
class RecordedScript final : public fwbase::IScript {
 public:
  explicit RecordedScript(fwbase::IScript& inner) : m_inner(inner) {}

  /// Says which functions are registered, and which of them are no static objects of the library.
  void list(const LibrarySegments& library, Findings& findings);

  ec::EC init() override;
  void release() override;
  bool expand_syntax(ISyntax* syntax) override;
  ec::EC load_script(const char* path) override { return m_inner.load_script(path); }
  ec::EC save_script() override { return m_inner.save_script(); }
  ec::EC execute(void* env) override { return m_inner.execute(env); }
  ec::EC exec_scommad(const char* section, void* env) override {
    return m_inner.exec_scommad(section, env);
  }
  ec::EC get_value(const char* name, VType type, void* out) const override {
    return m_inner.get_value(name, type, out);
  }
  ec::EC set_value(const char* name, VType type, const void* data) override {
    return m_inner.set_value(name, type, data);
  }
  ec::EC rm_value(const char* name) override { return m_inner.rm_value(name); }
  ec::EC get_value_env(const char* name, VType type, void* out, void* env) const override {
    return m_inner.get_value_env(name, type, out, env);
  }
  ec::EC set_value_env(const char* name, VType type, const void* data, void* env) override {
    return m_inner.set_value_env(name, type, data, env);
  }

 private:
  struct Function {
    std::string name;
    const void* object;
  };

  void forget();

  fwbase::IScript& m_inner;
  support::Mutex m_mutex;
  std::vector<Function> m_functions FWBASE_GUARDED_BY(m_mutex);  // in the order of registration
};

/// The library's facade, of which nothing is recorded.
fwbase::IFWBase* plain_facade();

/// Passes everything on to the library's facade, with components that record, and is what
/// fwbase::IFWBase::instance() gives while it lives: the program's own definition of that function
/// comes before the library's. So environments with a key are recorded from their creation on.
class RecordedFacade final : public fwbase::IFWBase {
 public:
  /// The facade must be in service.
  explicit RecordedFacade(Findings& findings);
  ~RecordedFacade() override;
  RecordedFacade(const RecordedFacade&) = delete;
  RecordedFacade& operator=(const RecordedFacade&) = delete;

  /// Says what the library left behind. True when the facade's release() would run code that is
  /// gone by then.
  bool list(const LibrarySegments& library, const std::set<const void*>& released);

  ec::EC init() override { refuse("init()", "start"); }
  void release() override { refuse("release()", "stop"); }
  // Null installs the built-in component, and so the one that records.
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
