// ERROR is always enabled, so that errors are kept whatever levels the log file has.
#include "command_line/error_log.h"

#include <fwbase/ifwbase.h>

#include "command_line/text.h"

namespace tools {

namespace {

constexpr std::size_t kMostErrors = 16;

std::string without_line_ends(std::string text) {
  const std::size_t last = text.find_last_not_of("\r\n");
  text.erase(last == text.npos ? 0 : last + 1);
  return text;
}

}  // namespace

using fwbase::IFWBase;

ErrorLog::ErrorLog() : ForwardingLog(*IFWBase::instance()->runlog()) {
  IFWBase::instance()->runlog(this);
  ErrorLog::type(0);
}

ErrorLog::~ErrorLog() {
  if (IFWBase::instance()->runlog() == this) {
    IFWBase::instance()->runlog(&inner());
    inner().type(m_levels);
  }
}

void ErrorLog::type(unsigned int mask) {
  {
    const support::MutexGuard guard(m_mutex);
    m_levels = mask;
  }
  inner().type(mask | ERROR);
}

void ErrorLog::write(Type type, const char* message, const char* location) {
  bool to_file = false;
  {
    const support::MutexGuard guard(m_mutex);
    to_file = (m_levels & type) != 0;
    if (type == ERROR && message != nullptr) {
      m_errors.emplace_back(message);
      if (m_errors.size() > kMostErrors) {
        m_errors.pop_front();
      }
    }
  }
  if (to_file) {
    inner().write(type, message, location);
  }
}

std::vector<std::string> ErrorLog::take_errors() {
  std::deque<std::string> taken;
  {
    const support::MutexGuard guard(m_mutex);
    taken.swap(m_errors);
  }
  std::vector<std::string> errors;
  for (const std::string& error : taken) {
    errors.push_back(without_line_ends(readable(error)));
  }
  return errors;
}

}  // namespace tools
