// From a call site to the facade's run log.
#include "fwbase/support/run_log.h"

#include <fwbase/ifwbase.h>
#include <fwbase/module.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace fwbase {

namespace {

// As FormatStr cuts.
constexpr std::size_t kTextLimit = 1022;

// "this(0x%x) %s %s(%d) CT:%s %s"
class Location {
 public:
  // cppcheck-suppress uninitMemberVar  ; what is written of the text ends with a zero
  explicit Location(const support::CallSite& site) {
    add("this(0x");
    add_number(support::addr32(site.object), 16);
    add(") ");
    add(site.function);
    add(" ");
    add(site.file);
    add("(");
    add_number(site.line, 10);
    add(") CT:");
    add(site.date);
    add(" ");
    add(site.time);
    *m_end = '\0';
  }
  Location(const Location&) = delete;
  Location& operator=(const Location&) = delete;

  const char* text() const { return m_text; }

 private:
  void add(std::string_view piece) {
    const auto room = static_cast<std::size_t>(m_text + kTextLimit - m_end);
    m_end += piece.copy(m_end, std::min(piece.size(), room));
  }

  template <typename Number>
  void add_number(Number number, int base) {
    char digits[16];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
    add({digits, static_cast<std::size_t>(end - digits)});
  }

  char m_text[kTextLimit + 1];
  char* m_end = m_text;
};

// On the stack: nothing is allocated for a record on its way to the log.
void write_formatted(IRunLog::Type level, const support::CallSite& site, const char* format,
                     std::va_list args) {
  support::FormattedText message;
  // Before init() and after release() the facade has no log.
  IRunLog* const log = IFWBase::instance()->runlog();
  if (format == nullptr || log == nullptr) {
    return;
  }
  support::format_text(message, format, args);
  log->write(level, message, Location(site).text());
}

}  // namespace

void support::write_record(IRunLog::Type level, const CallSite& site, const char* gbk_format,
                           const char* utf8_format, ...) {
  std::va_list args;
  va_start(args, utf8_format);
  write_formatted(level, site, gbk_format, args);
  va_end(args);
}

void host_log::write(IRunLog::Type level, const void* object, const char* function,
                     const char* file, int line, const char* date, const char* time,
                     const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  write_formatted(level, {object, function, file, line, date, time}, format, args);
  va_end(args);
}

}  // namespace fwbase
