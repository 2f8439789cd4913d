// The scope tracer.
#include <cerrno>
#include <memory>
#include <new>
#include <string>

#include <fwbase/ifwbase.h>

#include "fwbase/runlog/runlog.h"
#include "support/cancellation_block.h"

namespace fwbase {

namespace {

// When memory runs out, the record is dropped: a tracer must not throw into the scope that it
// watches, and no cancellation may leave its destructor.
void write_trace(const char* prefix, const std::string& text, const std::string& location) {
  IRunLog* const log = IFWBase::instance()->runlog();
  if (log == nullptr) {
    return;
  }
  const support::CancellationBlock no_cancellation;
  try {
    log->write(IRunLog::TRACE, (prefix + text).c_str(), location.c_str());
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
  }
}

}  // namespace

IRunLog::CTrace::CTrace(const char* text, int line, const char* file, const char* date,
                        const char* time, const char* function, void* object) {
  if (!enabled(TRACE) || text == nullptr) {
    return;
  }
  const std::unique_ptr<char[]> location(
      FormatStr("this(0x%x) %s %s %d CT:%s %s", addr32(object), function, file, line, date, time));
  if (!location) {
    return;
  }
  try {
    m_text = text;
    m_location = location.get();
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return;
  }
  write_trace("Call: ", m_text, m_location);
}

IRunLog::CTrace::~CTrace() {
  if (enabled(TRACE)) {
    write_trace("Ret: ", m_text, m_location);
  }
}

}  // namespace fwbase
