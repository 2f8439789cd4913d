// From a call site to the facade's run log.
#include "fwbase/runlog/runlog.h"

#include <fwbase/ifwbase.h>
#include <fwbase/module.h>

#include "support/cancellation_block.h"

namespace fwbase {

LocationText::LocationText(const CallSite& site) {
  m_text.add("this(0x").add_number(addr32(site.object), 16).add(") ");
  m_text.add(site.function).add(" ").add(site.place);
}

// All texts are on the stack: nothing is allocated for a record on its way to the log. Before
// init() and after release() the facade has no log.
void write_record(IRunLog::Type level, const CallSite& site, const char* gbk_format,
                  const char* utf8_format, ...) {
  IRunLog* const log = IFWBase::instance()->runlog();
  if (log == nullptr) {
    return;
  }
  const support::CancellationBlock no_cancellation;
  BoundedText message;
  std::va_list args;
  va_start(args, utf8_format);
  add_message(message, gbk_format, args);
  va_end(args);
  log->write(level, message.text(), LocationText(site).text());
}

namespace {

void write_of_host(IRunLog::Type level, const CallSite& site, const char* format,
                   std::va_list args) {
  IRunLog* const log = IFWBase::instance()->runlog();
  if (format != nullptr && log != nullptr) {
    FormattedText message;
    format_text(message, format, args);
    log->write(level, message, LocationText(site).text());
  }
}

}  // namespace

void host_log::write_at(IRunLog::Type level, const void* object, const char* function,
                        const char* place, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  write_of_host(level, {object, function, place}, format, args);
  va_end(args);
}

void host_log::write(IRunLog::Type level, const void* object, const char* function,
                     const char* file, int line, const char* date, const char* time,
                     const char* format, ...) {
  BoundedText place;
  place.add(file).add("(").add_number(line, 10).add(") CT:").add(date).add(" ").add(time);
  std::va_list args;
  va_start(args, format);
  write_of_host(level, {object, function, place.text()}, format, args);
  va_end(args);
}

}  // namespace fwbase
