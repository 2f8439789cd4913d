#include <fwbase/module.h>

void log_something() {
  FWBASE_LOG_AT(nullptr, WARN, "%d %s", 1, "text");
#ifdef WRONG_TYPE
  FWBASE_LOG_AT(nullptr, WARN, "%d", "text");
#endif
#ifdef MISSING_ARGUMENT
  FWBASE_LOG_AT(nullptr, WARN, "%d %d", 1);
#endif
#ifdef UNKNOWN_LEVEL
  FWBASE_LOG_AT(nullptr, VERBOSE, "text");
#endif
}
