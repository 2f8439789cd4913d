// The run log: levels, records, and the scope tracer.
#ifndef FWBASE_IRUNLOG_H
#define FWBASE_IRUNLOG_H

#include <atomic>
#include <string>

#include <fwbase/ec.h>
#include <fwbase/export.h>

// Hosts build with -DDEBUG, which must not break the level DEBUG: this header puts the macro aside
// and restores it, with its value, at the end. Code that names IRunLog::DEBUG while the macro DEBUG
// is defined must do the same.
#pragma push_macro("DEBUG")
#undef DEBUG

/// Where a record is written, "file(line) CT:date time": a text that is made while compiling.
#define FWBASE_PLACE __FILE__ "(" FWBASE_PLACE_LINE(__LINE__) ") CT:" __DATE__ " " __TIME__
#define FWBASE_PLACE_LINE(line) FWBASE_PLACE_TEXT(line)
#define FWBASE_PLACE_TEXT(text) #text

namespace fwbase {

/// The log that all components of a process share, reached as IFWBase::instance()->runlog().
///
/// How to use it: init(), file(), type(), then info() and asynch() if wanted; write() any number of
/// times; release(). The facade's init() and release() call those of the built-in log.
///
/// One record is, byte for byte:
///
///   [ERROR]: pid:4711 tid:4711 Wed Oct 29 10:20:30 2014 location\r\n >message\n
///
/// The tag is that of the level ("[TRACE]:", "[DEBUG]:", "[WARN ]:", "[ERROR]:", "[ALERT]:",
/// "[DUMP ]:", and "[NULL ]:" for every other value). info() chooses " pid:", " tid:" and the time;
/// a blank separates each from the next field. Of the line ends before "\r\n >", the first one is
/// deleted: with a time, that is the line end of the time's own text; without a time, it is the
/// first one of the location, if the location has any. Messages pass unchanged. The library's own
/// messages are GBK. Names and paths in them show their control characters ("\n", "\x1b"), except
/// the tab, so that none of them can look like a record.
///
/// When a record brings the log file to 10 MiB (10,485,760 bytes), the file becomes <file>.bak.0
/// and a new file begins; earlier backups become .bak.1 to .bak.3, and the oldest is lost. When
/// several processes write to one file, one of them rotates it and the others continue in the new
/// file. Only a regular file that still has its name is rotated, never one reached through /dev
/// (except /dev/shm) or /proc. When a rotation fails, for lack of descriptors, space or
/// permissions, or because another program's file has the name, nothing is lost: the log stays in
/// its present file, says so in one record at ERROR, whatever levels are enabled, and retries
/// whenever the file has grown by another 64 KiB. When the file was removed, the log makes a new
/// one at 10 MiB. When its directory is gone, the log is silent from then on until file() succeeds.
///
/// Threads   every operation may be called from any thread. One reader-writer lock guards the
///           output: records never interleave, and a rotation never splits a record. Settings take
///           no lock. init() and release() run one at a time; while one of them runs, write()
///           waits.
/// Failures  nothing throws. A record that cannot be written, for lack of memory (errno is ENOMEM)
///           or of disk space, is dropped; the next record is tried again. A lock call that fails
///           stores its error number in errno, and the operation continues.
/// Cancel    a thread may be cancelled in write(), where its record is written whole or not at all,
///           and in file(), while it opens the file.
/// Exit      a process that ends without release() writes what is queued before the library's
///           static objects are destroyed; later records are written in the caller's thread. A
///           process that is killed, or calls _exit(), loses what is queued, unless log_options()
///           has given the log a journal: then the next file() of that log writes it.
/// Fork      a child made with fork() has no writer thread: its records are written in the caller's
///           thread, whatever asynch() says, until its own init(). The parent writes what was
///           queued, and is not affected. See IFWBase.
struct FWBASE_API IRunLog {
  /// The level of a record. Each is one bit, for masks.
  enum Type : unsigned int {
    TRACE = 1,   ///< entries and exits of scopes, as CTrace writes them
    DEBUG = 2,   ///< what was done
    WARN = 4,    ///< what looks wrong, though nothing failed
    ERROR = 8,   ///< a failure
    ALERT = 16,  ///< for hosts: the library writes none
    DUMP = 32    ///< for hosts: the library writes none
  };

  /// Details of a record, for info(). All other bits have no effect.
  enum Info : unsigned int {
    INFO_TIME = 0x2,  ///< the local time of the call of write(), by TZ or the system's time zone
    INFO_PID = 0x4,   ///< the process id
    INFO_TID = 0x8    ///< the process id once more: readers of the log expect that number here
  };

  class CTrace;

  /// The levels that are enabled in this process; callers test it before they format a record. 0
  /// until type() sets it, and 0 again after init() and release(). Callers read it without a lock,
  /// relaxed: a record more or less during a change does no harm.
  static std::atomic<unsigned int> ms_type_sign;

  /// Formats like printf into a new buffer of 1,024 bytes, which the caller frees with delete[].
  ///
  /// The text is cut to 1,022 characters; the rest of the buffer is zero. When the formatting
  /// fails, the buffer has what the formatter had written, terminated. Returns null when memory
  /// runs out, and for a null format. Takes no lock.
  static char* FormatStr(const char* format, ...) __attribute__((format(printf, 1, 2)));

  /// Brings the log into service: direct mode, no level, no details, output to standard output.
  /// Then starts the writer thread, with all signals blocked, for queued mode.
  ///
  /// Nothing is written before a first file() has succeeded. From then on, each init() makes
  /// standard output the output until file() succeeds again. An init() without a release() before
  /// it first writes what is queued to the previous output, then closes the file and replaces the
  /// writer thread.
  ///
  /// Returns
  ///   LOG_OK             in service
  ///   LOG_THREAD_FAILED  the writer thread cannot be started; all else is done, and records are
  ///                      written in the caller's thread. Do not choose queued mode then.
  ///
  /// Takes the lock for writing.
  FWBASE_RESULT virtual ec::EC init() = 0;

  /// Sets ms_type_sign. Takes no lock.
  virtual void type(unsigned int mask) = 0;

  /// Sets the details that records have, as INFO_ bits. Takes no lock. The writer thread tests
  /// INFO_TIME again when it writes queued records. So set it before asynch(true): records that are
  /// queued when INFO_TIME is switched on get a wrong time (1970).
  virtual void info(unsigned int flags) = 0;

  /// Opens the log file, for appending, and makes it the output.
  /// path   required; copied. The file is made if it does not exist, with the process's umask.
  ///        Programs that the host starts do not inherit it. A relative name keeps its meaning when
  ///        the working directory changes. Backups are made beside the file that a symbolic link
  ///        leads to. What is not a regular file, such as a FIFO, is written but never rotated.
  ///
  /// Returns
  ///   LOG_OK           records go to the file; the previous file is closed
  ///   LOG_BAD_PARAM    path is null; nothing changed
  ///   LOG_NO_MEMORY    nothing changed
  ///   LOG_OPEN_FAILED  the file cannot be opened (errno says why); nothing changed
  ///
  /// Records in a journal that a killed process left beside the file are written first: see
  /// log_options().
  ///
  /// Takes the lock for writing, but not while it opens the file. When log_options() wants a
  /// journal, it also waits for init() and release() and until what is queued is written.
  FWBASE_RESULT virtual ec::EC file(const char* path) = 0;

  /// Chooses queued mode (true), in which the writer thread writes the records, or direct mode, in
  /// which write() does. Takes no lock, unless log_options() wants a journal: then it waits for
  /// init() and release() and until what is queued is written, and makes or removes the journal.
  ///
  /// Queued records are written in the order in which they were queued, as a rule within a
  /// millisecond. Records that are queued when direct mode is chosen are still written, maybe after
  /// later direct ones. Without a writer thread (no init(), or a failed one), records pile up and
  /// callers block when the queue is full.
  virtual void asynch(bool on) = 0;

  /// Ends the service: disables all levels, writes what is queued, ends the writer thread, writes
  /// the closing record (DEBUG, "\nlog system release\n", empty location, whatever the mask was)
  /// and closes the file. Standard output is not closed; if it was the output, it remains so.
  ///
  /// All records that are queued, and those of threads that wait in write() for room in the queue
  /// or for the output, are written before the closing record. release() waits while the output
  /// takes nothing, such as a FIFO that nobody reads. A write() that has not come so far, or that
  /// begins while release() runs, either has its record written before the closing record, or waits
  /// and then counts as begun after release().
  ///
  /// Once the file is closed, another release() writes nothing. init() may follow. Takes the lock
  /// for writing.
  virtual void release() = 0;

  /// Writes one record, whatever ms_type_sign is: the caller tests the level.
  /// type       any value
  /// message    the text; null writes nothing
  /// location   where the record comes from; null is an empty text
  ///
  /// Both texts are zero-terminated and remain the caller's.
  ///
  /// Writes nothing while the log has no output: before file() has succeeded, after a release()
  /// that closed the file, and after a rotation that found the file's directory gone, until file()
  /// succeeds. In direct mode the record is in the file when write() returns. In queued mode
  /// write() puts a copy into a queue of 16,384 bytes; when the queue is full, it blocks until
  /// there is room. See log_options() for other sizes, and for dropping records instead. All
  /// settings are read at one moment. In direct mode write() takes the lock for writing. In queued
  /// mode it takes none: while there is room, a record does not wait for the output.
  virtual void write(Type type, const char* message, const char* location) = 0;

  virtual ~IRunLog() {}
};

/// Traces a scope: while TRACE is enabled, the constructor writes "Call: " and a text, and the
/// destructor writes "Ret: " and the text, each to the log that the facade has at that moment, if
/// any.
///
/// Each of the two tests the level by itself. When TRACE is enabled only within the scope, the
/// "Ret: " record has no text and no location. Nothing throws: when memory runs out, the record is
/// dropped. One object belongs to one thread.
class FWBASE_API IRunLog::CTrace {
 public:
  /// text       what follows the prefixes, in the log's code page; copied. Null: no "Call: "
  ///            record, and an empty text at the end.
  /// line, file, date, time, function, object
  ///            where and when the caller was compiled, its full signature, and its `this`: the
  ///            location is "this(0x%x) %s %s %d CT:%s %s" of object (its low 32 bits), function,
  ///            file, line, date and time, cut as FormatStr does
  CTrace(const char* text, int line, const char* file, const char* date, const char* time,
         const char* function, void* object);

  /// Writes the "Ret: " record.
  ~CTrace();

  CTrace(const CTrace&) = delete;
  CTrace& operator=(const CTrace&) = delete;

 private:
  std::string m_text;
  std::string m_location;
};

}  // namespace fwbase

#pragma pop_macro("DEBUG")

#endif
