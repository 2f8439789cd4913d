// The scope tracer.
#include <fwbase/irunlog.h>

namespace fwbase {

IRunLog::CTrace::CTrace(const char*, int, const char*, const char*, const char*, const char*,
                        void*) {}
IRunLog::CTrace::~CTrace() {}

}  // namespace fwbase
