// The run log as the library sees it.
#ifndef FWMOD_WATCH_WATCHED_LOG_H
#define FWMOD_WATCH_WATCHED_LOG_H

#include <fwbase/irunlog.h>

#include "findings.h"

namespace fwmod {

/// Passes everything on, and keeps the messages at ERROR. That level is always enabled.
class WatchedLog final : public fwbase::IRunLog {
 public:
  WatchedLog(fwbase::IRunLog& inner, Findings& findings) : m_inner(inner), m_findings(findings) {
    m_inner.type(ERROR);
  }

  ec::EC init() override { return m_inner.init(); }
  void type(unsigned int mask) override { m_inner.type(mask | ERROR); }
  void info(unsigned int flags) override { m_inner.info(flags); }
  ec::EC file(const char* path) override { return m_inner.file(path); }
  void asynch(bool on) override { m_inner.asynch(on); }
  void release() override { m_inner.release(); }
  void write(Type type, const char* message, const char* location) override {
    if (type == ERROR && message != nullptr) {
      m_findings.logged(message);
    }
    m_inner.write(type, message, location);
  }

 private:
  fwbase::IRunLog& m_inner;
  Findings& m_findings;
};

}  // namespace fwmod

#endif
