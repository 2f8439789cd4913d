// Follows the calls of a section as they run.
#ifndef FWRUN_CALL_WATCH_H
#define FWRUN_CALL_WATCH_H

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "command_line/error_log.h"
#include "command_line/forwarding.h"
#include "script_file.h"
#include "support/mutex.h"

namespace fwrun {

/// Stands in front of the script engine, from its construction until its destruction or the
/// facade's release(). Forwards every operation, puts a watcher in front of each function that
/// anybody registers, and counts the calls that succeed. Must live until the engine is released.
/// Any thread may use it as an engine; begin() and end() are for the thread that made it.
class CallWatch : public tools::ForwardingScript {
 public:
  explicit CallWatch(tools::ErrorLog& errors);
  ~CallWatch() override;

  /// The watched function called `name`, null when there is none.
  ISyntax* find(const std::string& name) const;

  /// The result of each call after Ctrl-C; the function is not called.
  static constexpr ec::EC kInterrupted = (64U << 18) | 130U;

  /// Starts counting for a section that this thread is about to run. Calls in sections that its
  /// functions run, and calls in other threads, do not count.
  /// globals   those of the script, for messages
  void begin(const Section& section, const std::vector<Variable>& globals);

  /// The section has ended: nothing of it is needed any more.
  void end() { m_is_counting = false; }

  /// How many calls of the section have succeeded. Any thread.
  std::size_t succeeded() const { return m_succeeded; }

  bool expand_syntax(ISyntax* syntax) override;

 private:
  class Watched;

  ec::EC call(ISyntax& function, const VValue* args, void* env, const char* ret);
  void before_call(const char* function);
  void explain_references(const ScriptCall& call, const std::vector<std::string>& errors) const;
  void after_call(ec::EC result);

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
