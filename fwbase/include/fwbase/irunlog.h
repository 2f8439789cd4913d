// The run log: levels, records, and the scope tracer.
#ifndef FWBASE_IRUNLOG_H
#define FWBASE_IRUNLOG_H

#include <atomic>
#include <string>

#include <fwbase/ec.h>
#include <fwbase/export.h>

// Hosts build with -DDEBUG; the level of that name must survive it.
#pragma push_macro("DEBUG")
#undef DEBUG

namespace fwbase {

struct FWBASE_API IRunLog {
  enum Type : unsigned int { TRACE = 1, DEBUG = 2, WARN = 4, ERROR = 8, ALERT = 16, DUMP = 32 };
  enum Info : unsigned int { INFO_TIME = 0x2, INFO_PID = 0x4, INFO_TID = 0x8 };

  class CTrace;

  static std::atomic<unsigned int> ms_type_sign;

  static char* FormatStr(const char* format, ...) __attribute__((format(printf, 1, 2)));

  virtual ec::EC init() = 0;
  virtual void type(unsigned int mask) = 0;
  virtual void info(unsigned int flags) = 0;
  virtual ec::EC file(const char* path) = 0;
  virtual void asynch(bool on) = 0;
  virtual void release() = 0;
  virtual void write(Type type, const char* message, const char* location) = 0;
  virtual ~IRunLog() {}
};

class FWBASE_API IRunLog::CTrace {
 public:
  CTrace(const char* text, int line, const char* file, const char* date, const char* time,
         const char* function, void* object);
  ~CTrace();

  CTrace(const CTrace&) = delete;
  CTrace& operator=(const CTrace&) = delete;

 private:
  std::string m_text;
  std::string m_location;
};

}  // namespace fwbase

#pragma pop_macro("DEBUG")

#endif
