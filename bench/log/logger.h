// What the loggers under test have in common: each writes records of the same kind to a file.
//
// A record is what the library's own code writes, about 216 bytes: a level, where the record comes
// from (object, function, file, line, date), and a message with an int, a string and a double.
#ifndef FWBASE_BENCH_LOG_LOGGER_H
#define FWBASE_BENCH_LOG_LOGGER_H

#include <functional>
#include <iomanip>
#include <ios>
#include <memory>
#include <string>
#include <vector>

#include "bench/harness.h"

namespace fwbase::bench {

/// Every mode but kDisabled flushes each record: it is in the file, as far as the process is
/// concerned, before the next one is formatted.
enum class Mode {
  kDisabled,     ///< the level of the record is off
  kDirect,       ///< written by the caller
  kWithDetails,  ///< likewise, with the time, the process and the thread in each record
  kQueued,       ///< written by a thread; when kQueuedRecords wait, callers block
  kLargeQueue,   ///< likewise, with kManyQueuedRecords
  kJournal       ///< as kQueued; what waits survives that the process is killed
};

/// As many records as the library's queue of 16,384 bytes has room for, and one of 1 MiB.
constexpr std::size_t kQueuedRecords = 76;
constexpr std::size_t kManyQueuedRecords = 64 * kQueuedRecords;

inline bool is_queued(Mode mode) { return mode >= Mode::kQueued; }
inline std::size_t queued_records(Mode mode) {
  return mode == Mode::kLargeQueue ? kManyQueuedRecords : kQueuedRecords;
}

class Logger {
 public:
  virtual ~Logger() = default;

  /// Logs records with the numbers from `first` on. The loop is the logger's, so that no virtual
  /// call is measured.
  virtual void log(int first, int count) = 0;

  /// Returns when everything is in the file.
  virtual void finish() {}
};

/// Our own.
constexpr const char* kHostRecords = "fwbase, FWBASE_LOG";
constexpr const char* kFormattedRecords = "fwbase, FormatStr twice, write";

/// Makes a logger that writes to a new file, or gives null for a mode that it does not have.
using MakeLogger = std::function<std::unique_ptr<Logger>(Mode mode, const std::string& file)>;

struct LoggerKind {
  std::string name;
  Role role;
  MakeLogger make;
};

/// What the message of a record with this number has beside the number.
inline const char* peer_of(int number) { return number % 2 == 0 ? "gateway" : "terminal"; }
inline double milliseconds_of(int number) { return 0.001 * number; }

/// All that are built in, in no particular order.
inline std::vector<LoggerKind>& logger_kinds() {
  static std::vector<LoggerKind> kinds;
  return kinds;
}

/// A source file of a logger has one of these: a logger whose package is missing is not built.
struct RegisterLogger {
  RegisterLogger(const char* name, Role role, MakeLogger make) {
    logger_kinds().push_back({name, role, std::move(make)});
  }
};

}  // namespace fwbase::bench

/// The message of all records, as a format with these conversions.
#define BENCH_MESSAGE(int_, string_, double_) \
  "session " int_ ": 64 bytes of " string_ " received and handed over, ms: " double_
#define BENCH_PRINTF_MESSAGE BENCH_MESSAGE("%d", "%s", "%.3f")
#define BENCH_BRACES_MESSAGE BENCH_MESSAGE("{}", "{}", "{:.3f}")

/// The same for a stream, with the digits of its numbers set.
#define BENCH_STREAMED(number)                                                          \
  "session " << (number) << ": 64 bytes of " << ::fwbase::bench::peer_of(number)        \
             << " received and handed over, ms: " << std::fixed << std::setprecision(3) \
             << ::fwbase::bench::milliseconds_of(number)

/// When the source file was compiled, as the library's records have it.
#define BENCH_COMPILED "CT:" __DATE__ " " __TIME__

#endif
