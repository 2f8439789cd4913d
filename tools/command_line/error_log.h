// The run log while a command works: passes records on to the log file, and keeps the errors, so
// that the command can say why something failed, whether or not there is a log file.
#ifndef TOOLS_COMMAND_LINE_ERROR_LOG_H
#define TOOLS_COMMAND_LINE_ERROR_LOG_H

#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "command_line/forwarding.h"

namespace tools {

/// Installed as the facade's run log while it lives, unless the facade is released before. Any
/// thread may write.
class ErrorLog : public ForwardingLog {
 public:
  ErrorLog();
  ~ErrorLog() override;

  /// The messages at ERROR since the last call, as UTF-8, without the ends of lines that some have.
  /// Only the last ones are kept when they are many.
  std::vector<std::string> take_errors();

  void type(unsigned int mask) override;
  void write(Type type, const char* message, const char* location) override;

 private:
  std::mutex m_mutex;
  unsigned int m_levels = 0;  // what goes to the log file
  std::deque<std::string> m_errors;
};

}  // namespace tools

#endif
