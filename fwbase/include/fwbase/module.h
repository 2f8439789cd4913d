// For authors of modules: exporting a module's creation function, logging and tracing.
#ifndef FWBASE_MODULE_H
#define FWBASE_MODULE_H

#include <atomic>
#include <new>
#include <type_traits>

#include <fwbase/export.h>
#include <fwbase/ifwbase.h>
#include <fwbase/imm.h>
#include <fwbase/irunlog.h>

/// Exports the creation function of a module library: `extern "C" create_module`, which makes a
/// `Class` with new. Write it outside all namespaces, in one source file of the library; `Class`
/// may be in any namespace, including an unnamed one.
///
///   class Counter : public fwbase::IMM::IBase {
///    public:
///     ec::EC init(void* arg) override;
///     void release() override { delete this; }
///   };
///   FWBASE_MODULE(Counter)
///
/// Class   derives from fwbase::IMM::IBase or fwbase::IMM::IFactory and has a constructor without
///         arguments; its name has no comma. A module that no factory makes deletes itself in its
///         release().
/// The function gives null when memory runs out, and passes on what the constructor throws. In both
/// cases IMM::create_module() fails and remembers nothing.
#define FWBASE_MODULE(Class) FWBASE_MODULE_AS(Class, create_module)

/// The same with another name for the function, for a library of several modules.
#define FWBASE_MODULE_AS(Class, function)                                                    \
  extern "C" FWBASE_API ::fwbase::IMM::IBase* function();                                    \
  extern "C" ::fwbase::IMM::IBase* function() {                                              \
    static_assert(::std::is_base_of<::fwbase::IMM::IBase, Class>::value,                     \
                  "a module derives from fwbase::IMM::IBase or from fwbase::IMM::IFactory"); \
    return new (::std::nothrow) Class; /* NOLINT(bugprone-macro-parentheses): a type */      \
  }

/// Writes one record to the facade's run log, from a member function:
///
///   FWBASE_LOG(WARN, "%d lines dropped, session %s", count, name.c_str());
///
/// level   TRACE, DEBUG, WARN, ERROR, ALERT or DUMP; the macro DEBUG does not disturb it
/// ...     a printf format and its arguments, which the compiler checks. Bytes pass unchanged, in
///         whatever encoding the host keeps its log. The library's own messages are GBK.
///
/// When the level is off, nothing is evaluated: the cost is one relaxed load and a test. Otherwise
/// the text is cut to 1,022 characters, and the record's location is "this(0x%x) %s %s(%d) CT:%s
/// %s" of `this` (its low 32 bits), the function's signature, the file, the line, and the date and
/// time of compilation. __FILE__ is the path as given to the compiler; -fmacro-prefix-map makes it
/// relative. Without a run log (before IFWBase::init()) or without memory the record is dropped.
/// Any thread. Throws only what a run log of the host throws.
#define FWBASE_LOG(level, ...) FWBASE_LOG_RECORD(this, ::fwbase::host_log::k##level, __VA_ARGS__)

/// The same from any function.
/// object   what the record is about; may be null
#define FWBASE_LOG_AT(object, level, ...) \
  FWBASE_LOG_RECORD(object, ::fwbase::host_log::k##level, __VA_ARGS__)

/// Traces the enclosing scope of a member function: at TRACE, writes a record "Call: " and text now
/// and a record "Ret: " and text when the scope ends. See IRunLog::CTrace.
/// text   zero-terminated, copied; not evaluated when TRACE is off
#define FWBASE_TRACE(text) FWBASE_TRACE_AT(this, text)

/// The same in any function.
/// object   what the records are about; may be null
#define FWBASE_TRACE_AT(object, text) FWBASE_TRACE_NAMED(object, text, __LINE__)

// Parts of the macros above.

/// Writes a record of a level of host_log, if the level is enabled.
#define FWBASE_LOG_RECORD(object, level, ...)                                                      \
  do {                                                                                             \
    if (__builtin_expect(::fwbase::host_log::enabled(level), false)) {                             \
      ::fwbase::host_log::write_at(level, object, __PRETTY_FUNCTION__, FWBASE_PLACE, __VA_ARGS__); \
    }                                                                                              \
  } while (false)

/// Expands `line` to a number before it becomes part of a name.
#define FWBASE_TRACE_NAMED(object, text, line) FWBASE_TRACE_DEFINED(object, text, line)
/// The object that traces the scope.
#define FWBASE_TRACE_DEFINED(object, text, line)                                                  \
  const ::fwbase::IRunLog::CTrace fwbase_trace_##line(                                            \
      ::fwbase::host_log::enabled(::fwbase::host_log::kTRACE) ? (text) : nullptr, line, __FILE__, \
      __DATE__, __TIME__, __PRETTY_FUNCTION__,                                                    \
      const_cast<void*>(static_cast<const void*>(object)))

// As in irunlog.h: hosts build with -DDEBUG.
#pragma push_macro("DEBUG")
#undef DEBUG

namespace fwbase {

/// Parts of the logging macros.
namespace host_log {

constexpr IRunLog::Type kTRACE = IRunLog::TRACE;  ///< "TRACE" in the macros
constexpr IRunLog::Type kDEBUG = IRunLog::DEBUG;  ///< "DEBUG" in the macros
constexpr IRunLog::Type kWARN = IRunLog::WARN;    ///< "WARN" in the macros
constexpr IRunLog::Type kERROR = IRunLog::ERROR;  ///< "ERROR" in the macros
constexpr IRunLog::Type kALERT = IRunLog::ALERT;  ///< "ALERT" in the macros
constexpr IRunLog::Type kDUMP = IRunLog::DUMP;    ///< "DUMP" in the macros

/// True when this level is enabled: one relaxed load of IRunLog::ms_type_sign.
inline bool enabled(IRunLog::Type level) {
  return (IRunLog::ms_type_sign.load(std::memory_order_relaxed) & level) != 0;
}

/// Writes a record to the facade's log, if there is one. The message is formatted as by
/// IRunLog::FormatStr; the location is "this(0x%x) %s %s(%d) CT:%s %s" of the other arguments, also
/// cut to 1,022 characters. Allocates nothing.
/// object   may be null
/// format   null writes nothing
FWBASE_API void write(IRunLog::Type level, const void* object, const char* function,
                      const char* file, int line, const char* date, const char* time,
                      const char* format, ...) __attribute__((format(printf, 8, 9)));

/// The same with what the compiler knows in one text.
/// place   "file(line) CT:date time", see FWBASE_PLACE
FWBASE_API void write_at(IRunLog::Type level, const void* object, const char* function,
                         const char* place, const char* format, ...)
    __attribute__((format(printf, 5, 6)));

}  // namespace host_log
}  // namespace fwbase

#pragma pop_macro("DEBUG")

#endif
