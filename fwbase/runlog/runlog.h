// How the library's own code logs: RUN_LOG(ERROR, "text %d", number) inside a member function.
//
// The level is tested first and the arguments are evaluated only when it is enabled. Formats are
// written in UTF-8 and converted to GBK while compiling; the compiler checks the arguments. Texts
// among these come from scripts, callers and the system: their control characters are shown.
#ifndef FWBASE_RUNLOG_RUNLOG_H
#define FWBASE_RUNLOG_RUNLOG_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <optional>

#include <fwbase/irunlog.h>

#include "fwbase/runlog/gbk.h"
#include "fwbase/runlog/message_format.h"

namespace fwbase {

/// Where a record comes from.
struct CallSite {
  const void* object;
  const char* function;
  const char* place;  ///< FWBASE_PLACE
};

inline bool enabled(IRunLog::Type level) {
  return (IRunLog::ms_type_sign.load(std::memory_order_relaxed) & level) != 0;
}

/// An address as the 32 bits that "%x" prints of it.
inline std::uint32_t addr32(const void* address) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

/// A function's address, likewise.
template <typename Result, typename... Args>
std::uint32_t addr32(Result (*function)(Args...)) {
  return addr32(reinterpret_cast<const void*>(function));
}

/// A formatted text, as large as IRunLog::FormatStr allocates it.
using FormattedText = char[1024];

/// Formats with IRunLog::FormatStr's rules: 1,022 characters at most, and a zero behind them.
/// Returns their number. Does not clear the rest of `text`.
std::size_t format_text(FormattedText& text, const char* format, std::va_list args);

/// "this(0x%x) %s %s(%d) CT:%s %s"
class LocationText {
 public:
  explicit LocationText(const CallSite& site);
  const char* text() { return m_text.text(); }

 private:
  BoundedText m_text;
};

/// Writes one record to the facade's run log. gbk_format is what is printed; utf8_format is the
/// same text as typed, there for the compiler's check only. The thread is not cancelled meanwhile.
void write_record(IRunLog::Type level, const CallSite& site, const char* gbk_format,
                  const char* utf8_format, ...) __attribute__((format(printf, 4, 5)));

/// A tracer that is made only when there is something to write.
class ScopeTrace {
 public:
  ScopeTrace(const char* text, int line, const char* file, const char* date, const char* time,
             const char* function, const void* object) {
    if (enabled(IRunLog::TRACE)) {
      m_trace.emplace(text, line, file, date, time, function, const_cast<void*>(object));
    }
  }
  ~ScopeTrace() {
    if (!m_trace && enabled(IRunLog::TRACE)) {
      m_trace.emplace(nullptr, 0, "", "", "", "", nullptr);  // enabled since: it writes its end
    }
  }
  ScopeTrace(const ScopeTrace&) = delete;
  ScopeTrace& operator=(const ScopeTrace&) = delete;

 private:
  std::optional<IRunLog::CTrace> m_trace;
};

}  // namespace fwbase

#define RUN_LOG_FIRST(...) RUN_LOG_FIRST_OF(__VA_ARGS__, )
#define RUN_LOG_FIRST_OF(first, ...) first

/// Logs for the object given, which may be null.
#define RUN_LOG_AT(object, level, ...)                                                       \
  do {                                                                                       \
    if (::fwbase::enabled(::fwbase::IRunLog::level)) {                                       \
      static_assert(::fwbase::is_message_format(RUN_LOG_FIRST(__VA_ARGS__)),                 \
                    "a conversion that add_message does not know");                          \
      static constexpr auto runlog_text =                                                    \
          ::fwbase::gbk::encode<::fwbase::gbk::size_of(RUN_LOG_FIRST(__VA_ARGS__))>(         \
              RUN_LOG_FIRST(__VA_ARGS__));                                                   \
      ::fwbase::write_record(::fwbase::IRunLog::level,                                       \
                             {object, __PRETTY_FUNCTION__, FWBASE_PLACE}, runlog_text.bytes, \
                             __VA_ARGS__);                                                   \
    }                                                                                        \
  } while (false)

/// Logs for `this`.
#define RUN_LOG(level, ...) RUN_LOG_AT(this, level, __VA_ARGS__)

/// Traces the entry and the exit of the enclosing scope; `text` is a GBK text.
#define RUN_TRACE(text)                                                              \
  const ::fwbase::ScopeTrace run_trace(text, __LINE__, __FILE__, __DATE__, __TIME__, \
                                       __PRETTY_FUNCTION__, this)

#endif
