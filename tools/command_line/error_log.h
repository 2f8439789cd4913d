// The run log while a command works. It keeps the errors, so that the command can say why something
// failed, with or without a log file.
#ifndef TOOLS_COMMAND_LINE_ERROR_LOG_H
#define TOOLS_COMMAND_LINE_ERROR_LOG_H

#include <deque>
#include <string>
#include <vector>

#include "command_line/forwarding.h"
#include "support/mutex.h"

namespace tools {

/// Forwards records to the run log that it replaces, from its construction until its destruction or
/// the facade's release(). Any thread may write.
class ErrorLog : public ForwardingLog {
 public:
  ErrorLog();
  ~ErrorLog() override;

  /// The messages at ERROR since the last call, as UTF-8 and without line ends. Keeps the last 16.
  std::vector<std::string> take_errors();

  void type(unsigned int mask) override;
  void write(Type type, const char* message, const char* location) override;

 private:
  support::Mutex m_mutex;
  unsigned int m_levels FWBASE_GUARDED_BY(m_mutex) = 0;  // what goes to the log file
  std::deque<std::string> m_errors FWBASE_GUARDED_BY(m_mutex);
};

}  // namespace tools

#endif
