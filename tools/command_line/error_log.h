// The run log while a command works: passes records on to the log file, and keeps the errors, so
// that the command can say why something failed, whether or not there is a log file.
#ifndef TOOLS_COMMAND_LINE_ERROR_LOG_H
#define TOOLS_COMMAND_LINE_ERROR_LOG_H

#include <deque>
#include <string>
#include <vector>

#include <fwbase/ifwbase.h>

#include "support/mutex.h"

namespace tools {

/// Installed as the facade's run log while it lives, unless the facade is released before. Any
/// thread may write.
class ErrorLog : public fwbase::IRunLog {
 public:
  ErrorLog();
  ~ErrorLog() override;

  /// The messages at ERROR since the last call, as UTF-8, without the ends of lines that some have.
  /// Only the last ones are kept when they are many.
  std::vector<std::string> take_errors();

  ec::EC init() override { return m_inner->init(); }
  void type(unsigned int mask) override;
  void info(unsigned int flags) override { m_inner->info(flags); }
  ec::EC file(const char* path) override { return m_inner->file(path); }
  void asynch(bool on) override { m_inner->asynch(on); }
  void release() override { m_inner->release(); }
  void write(Type type, const char* message, const char* location) override;

 private:
  fwbase::IRunLog* const m_inner;
  support::Mutex m_mutex;
  unsigned int m_levels FWBASE_GUARDED_BY(m_mutex) = 0;  // what goes to the log file
  std::deque<std::string> m_errors FWBASE_GUARDED_BY(m_mutex);
};

}  // namespace tools

#endif
