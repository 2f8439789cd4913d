// The built-in run log.
#ifndef FWBASE_RUNLOG_LOG_PROCESS_H
#define FWBASE_RUNLOG_LOG_PROCESS_H

#include <fwbase/irunlog.h>

namespace fwbase {

class CLogProcess : public IRunLog {
 public:
  ec::EC init() override { return ec::LOG_OK; }
  void type(unsigned int mask) override { ms_type_sign = mask; }
  void info(unsigned int) override {}
  ec::EC file(const char*) override { return ec::LOG_OPEN_FAILED; }
  void asynch(bool) override {}
  void release() override { ms_type_sign = 0; }
  void write(Type, const char*, const char*) override {}
  void finish() {}
};

}  // namespace fwbase

#endif
