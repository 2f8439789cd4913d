// From a call site to the facade's run log.
#include "fwbase/support/run_log.h"

#include <fwbase/ifwbase.h>
#include <fwbase/module.h>

#include "utility/cancellation_block.h"

namespace fwbase {

namespace {

// "this(0x%x) %s %s(%d) CT:%s %s"
class Location {
 public:
  explicit Location(const support::CallSite& site) {
    m_text.add("this(0x");
    m_text.add_number(support::addr32(site.object), 16);
    m_text.add(") ");
    m_text.add(site.function);
    m_text.add(" ");
    m_text.add(site.file);
    m_text.add("(");
    m_text.add_number(site.line, 10);
    m_text.add(") CT:");
    m_text.add(site.date);
    m_text.add(" ");
    m_text.add(site.time);
  }

  const char* text() { return m_text.text(); }

 private:
  support::BoundedText m_text;
};

}  // namespace

// All texts are on the stack: nothing is allocated for a record on its way to the log. Before
// init() and after release() the facade has no log.
void support::write_record(IRunLog::Type level, const CallSite& site, const char* gbk_format,
                           const char* utf8_format, ...) {
  IRunLog* const log = IFWBase::instance()->runlog();
  if (log == nullptr) {
    return;
  }
  const utility::CancellationBlock no_cancellation;
  BoundedText message;
  std::va_list args;
  va_start(args, utf8_format);
  add_message(message, gbk_format, args);
  va_end(args);
  log->write(level, message.text(), Location(site).text());
}

void host_log::write(IRunLog::Type level, const void* object, const char* function,
                     const char* file, int line, const char* date, const char* time,
                     const char* format, ...) {
  IRunLog* const log = IFWBase::instance()->runlog();
  if (format == nullptr || log == nullptr) {
    return;
  }
  support::FormattedText message;
  std::va_list args;
  va_start(args, format);
  support::format_text(message, format, args);
  va_end(args);
  log->write(level, message, Location({object, function, file, line, date, time}).text());
}

}  // namespace fwbase
