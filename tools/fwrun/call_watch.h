// Watches which call of a section is running.
#ifndef FWRUN_CALL_WATCH_H
#define FWRUN_CALL_WATCH_H

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include <fwbase/iscript.h>

#include "command_line/error_log.h"
#include "script_file.h"
#include "support/mutex.h"

namespace fwrun {

/// Installed as the facade's script engine while it lives, unless the facade is released before.
/// Hands everything on to the engine that was installed, with a watcher in front of each function
/// that is registered, whoever registers it; the watchers count the calls that succeed. Must live
/// until that engine is released. Any thread may use it as an engine; begin() and succeeded() are
/// for the thread that made it.
class CallWatch : public fwbase::IScript {
 public:
  explicit CallWatch(tools::ErrorLog& errors);
  ~CallWatch() override;

  /// The watched function that calls of `name` go to, null when there is none.
  ISyntax* find(const std::string& name) const;

  /// What calls give instead of being made once Ctrl-C was pressed.
  static constexpr ec::EC kInterrupted = (64U << 18) | 130U;

  /// Starts to count for a section that this thread is about to run. The calls of sections that
  /// its functions run in turn, and those of other threads, are not counted.
  /// globals   those of the script, for messages
  void begin(const Section& section, const std::vector<Variable>& globals);

  /// How many calls of the section have succeeded. Any thread.
  std::size_t succeeded() const { return m_succeeded; }

  bool expand_syntax(ISyntax* syntax) override;

  ec::EC init() override { return m_inner->init(); }
  void release() override { m_inner->release(); }
  ec::EC load_script(const char* path) override { return m_inner->load_script(path); }
  ec::EC save_script() override { return m_inner->save_script(); }
  ec::EC execute(void* env) override { return m_inner->execute(env); }
  ec::EC exec_scommad(const char* section, void* env) override {
    return m_inner->exec_scommad(section, env);
  }
  ec::EC get_value(const char* name, VType type, void* out) const override {
    return m_inner->get_value(name, type, out);
  }
  ec::EC set_value(const char* name, VType type, const void* data) override {
    return m_inner->set_value(name, type, data);
  }
  ec::EC rm_value(const char* name) override { return m_inner->rm_value(name); }
  ec::EC get_value_env(const char* name, VType type, void* out, void* env) const override {
    return m_inner->get_value_env(name, type, out, env);
  }
  ec::EC set_value_env(const char* name, VType type, const void* data, void* env) override {
    return m_inner->set_value_env(name, type, data, env);
  }

 private:
  class Watched;

  ec::EC call(ISyntax& function, const VValue* args, void* env, const char* ret);
  void before_call(const char* function);
  void explain_references(const ScriptCall& call, const std::vector<std::string>& errors) const;
  void after_call(ec::EC result);

  fwbase::IScript* const m_inner;
  tools::ErrorLog& m_errors;

  mutable support::Mutex m_mutex;
  std::vector<std::unique_ptr<Watched>> m_functions FWBASE_GUARDED_BY(m_mutex);
  /// Of each name; null when refused.
  std::unordered_map<std::string, Watched*> m_latest FWBASE_GUARDED_BY(m_mutex);

  const std::thread::id m_thread = std::this_thread::get_id();  // what follows is for it alone
  bool m_is_counting = false;
  const Section* m_section = nullptr;
  const std::vector<Variable>* m_globals = nullptr;
  std::atomic<std::size_t> m_succeeded = 0;
};

}  // namespace fwrun

#endif
