// Watches which call of a section is running.
#ifndef FWRUN_CALL_WATCH_H
#define FWRUN_CALL_WATCH_H

#include <memory>
#include <string>
#include <vector>

#include <fwbase/iscript.h>

#include "error_log.h"

namespace fwrun {

/// Stands between the engine and the functions, and counts the calls that succeed. Functions are
/// watched before a script is loaded; the watch must outlive the engine's use of them.
class CallWatch {
 public:
  explicit CallWatch(ErrorLog& errors);
  ~CallWatch();

  /// The object to register in place of `function`.
  fwbase::IScript::ISyntax* watch(fwbase::IScript::ISyntax& function);

  /// The watched function of that name, null when there is none.
  fwbase::IScript::ISyntax* find(const std::string& name) const;

  /// Starts to count for a section.
  void begin(const std::string& section);

  /// How many calls of the section have succeeded.
  std::size_t succeeded() const { return m_succeeded; }

 private:
  class Watched;

  void before_call(const char* function);
  void after_call(ec::EC result);

  ErrorLog& m_errors;
  std::vector<std::unique_ptr<Watched>> m_functions;
  std::string m_section;
  std::size_t m_succeeded = 0;
};

}  // namespace fwrun

#endif
