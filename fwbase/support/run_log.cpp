// From a call site to the facade's run log.
#include "fwbase/support/run_log.h"

#include <fwbase/ifwbase.h>

namespace fwbase::support {

void write_record(IRunLog::Type level, const CallSite& site, const char* gbk_format,
                  const char* utf8_format, ...) {
  std::va_list args;
  va_start(args, utf8_format);
  const std::unique_ptr<char[]> message = format_text(gbk_format, args);
  va_end(args);
  if (!message) {
    return;
  }
  const std::unique_ptr<char[]> location(
      IRunLog::FormatStr("this(0x%x) %s %s(%d) CT:%s %s", addr32(site.object), site.function,
                         site.file, site.line, site.date, site.time));
  // Before init() and after release() the facade has no log.
  if (IRunLog* const log = IFWBase::instance()->runlog()) {
    log->write(level, message.get(), location.get());
  }
}

}  // namespace fwbase::support
