// The run log: levels, records, and the scope tracer.
#ifndef FWBASE_IRUNLOG_H
#define FWBASE_IRUNLOG_H

#include <atomic>
#include <string>

#include <fwbase/ec.h>
#include <fwbase/export.h>

// Hosts build with -DDEBUG, and the level of that name must survive it: the macro is put aside
// while this header is read and is back at its end, with the value that it had. Code that names
// IRunLog::DEBUG while the macro DEBUG is defined has to do the same.
#pragma push_macro("DEBUG")
#undef DEBUG

/// Where a record is written, "file(line) CT:date time": a text that is made while compiling.
#define FWBASE_PLACE __FILE__ "(" FWBASE_PLACE_LINE(__LINE__) ") CT:" __DATE__ " " __TIME__
#define FWBASE_PLACE_LINE(line) FWBASE_PLACE_TEXT(line)
#define FWBASE_PLACE_TEXT(text) #text

namespace fwbase {

/// The log that all components of a process share, reached as IFWBase::instance()->runlog().
///
/// How to use it: init(), file(), type(), and info() and asynch() as wanted; write() any number of
/// records; release(). The facade's init() and release() call those of the built-in log.
///
/// One record is, byte for byte:
///
///   [ERROR]: pid:4711 tid:4711 Wed Oct 29 10:20:30 2014 location\r\n >message\n
///
/// where the tag is that of the level ("[TRACE]:", "[DEBUG]:", "[WARN ]:", "[ERROR]:", "[ALERT]:",
/// "[DUMP ]:", and "[NULL ]:" for every other value), " pid:", " tid:" and the time are there as
/// info() says, and each is followed by the blank before the next field. The first line end in the
/// part before "\r\n >" is deleted: it is the one that the time brings; without a time it is the
/// first one of the location, if it has any. Messages pass unchanged. The library's own messages
/// are GBK; the names and paths that they quote show their control characters, all but the tab
/// ("\n", "\x1b"), so that none of them can look like a record.
///
/// A log file whose size reaches 10 MiB (10,485,760 bytes) with a record becomes <file>.bak.0, and
/// a new one is begun; earlier backups become .bak.1 to .bak.3, and the oldest is lost. Of several
/// processes that write to one file, one does so and the others go on in the new file. Only a
/// regular file that still has its name is rotated, and none that is reached through /dev (but
/// /dev/shm) or /proc. Where a rotation fails, for want of descriptors, room or rights, nothing is
/// lost: the log goes on in the file that it has, says so in one record at ERROR, whatever levels
/// are enabled, and tries again whenever the file has grown by another 64 KiB. So it does where a
/// file of others has taken the name. When the file was removed, the log makes a new one at 10 MiB;
/// when its directory is gone, it is silent from there on until file() succeeds.
///
/// Threads   every operation may be called from any thread. One reader-writer lock guards the
///           output: records never interleave, and no rotation meets a record. Settings take no
///           lock. init() and release() follow each other; while one of them runs, write() waits.
/// Failures  nothing throws. A record that cannot be written, for want of memory (errno is ENOMEM)
///           or of room on the disk, is dropped, and the next one is tried again. A lock call that
///           fails stores its error number in errno and the operation goes on.
/// Cancel    a thread that is to be cancelled may end in write(), its record whole or not there,
///           and in file(), while that opens the file.
/// Exit      a process that ends without release() writes what is queued before the library's
///           static objects go; from then on records are written in the caller's thread. A process
///           that is killed, or calls _exit(), loses what is queued, unless log_options() has given
///           the log a journal: the next file() of that log writes it then.
/// Fork      a child made with fork() has no writer thread: its records are written in the caller's
///           thread, whatever asynch() says, until its own init(). What was queued is written by
///           the parent, which notices nothing. See IFWBase.
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

  /// The levels that are enabled in this process: what callers look at before they format a
  /// record. 0 until type() sets it, and 0 again after init() and release(). Callers read it
  /// without a lock, relaxed: a record more or less while it changes does no harm.
  static std::atomic<unsigned int> ms_type_sign;

  /// Formats as printf into a new buffer of 1,024 bytes that the caller frees with delete[].
  ///
  /// A text is cut to 1,022 characters; the buffer is zero from the end of the text on. A text
  /// that cannot be formatted leaves what the formatter had written, terminated.
  /// Returns null without memory, and for a null format. Takes no lock.
  static char* FormatStr(const char* format, ...) __attribute__((format(printf, 1, 2)));

  /// Brings the log into service: direct mode, no level, no details, output to standard output.
  /// Then starts the writer thread, with all signals blocked, for queued mode.
  ///
  /// Nothing is written before file() has succeeded once. After release(), though, the name of the
  /// file is remembered: records then go to standard output until file() is called.
  /// Twice without release(): what is queued is written first, to the output of before, then the
  /// file is closed and the writer is replaced.
  ///
  /// Returns
  ///   LOG_OK             in service
  ///   LOG_THREAD_FAILED  the writer thread cannot be started; all else is done, and records are
  ///                      written in the caller's thread. Queued mode must not be chosen then.
  ///
  /// Takes the lock for writing.
  FWBASE_RESULT virtual ec::EC init() = 0;

  /// Sets ms_type_sign. Takes no lock.
  virtual void type(unsigned int mask) = 0;

  /// Sets the details that records have, as INFO_ bits. Takes no lock.
  /// INFO_TIME decides when a queued record is written whether its time is read: set it before
  /// asynch(true), or records that are queued at that moment get a wrong time.
  virtual void info(unsigned int flags) = 0;

  /// Opens the log file, for appending, and makes it the output.
  /// path   required; copied. Made when it does not exist, with the process's umask. Not inherited
  ///        by programs that the host starts. A relative name stays that of this file when the
  ///        working directory changes; backups are made beside the file that a symbolic link leads
  ///        to. What is no regular file, as a FIFO, is written, but never rotated.
  ///
  /// Returns
  ///   LOG_OK           records go to the file. One that was opened earlier is closed.
  ///   LOG_BAD_PARAM    path is null; nothing changed
  ///   LOG_NO_MEMORY    nothing changed
  ///   LOG_OPEN_FAILED  the file cannot be opened (errno says why); nothing changed
  ///
  /// What a journal beside the file holds, which a killed process has left, is written first: see
  /// log_options().
  ///
  /// Takes the lock for writing, but not while it opens the file. With a journal it also waits for
  /// init() and release() and until what is queued is written.
  FWBASE_RESULT virtual ec::EC file(const char* path) = 0;

  /// Chooses queued mode (true), where the writer thread writes the records, or direct mode, where
  /// write() does. Takes no lock, unless log_options() wants a journal: then it waits for init()
  /// and release() and until what is queued is written, and makes or removes the journal.
  ///
  /// Queued records are written in the order in which they were queued, as a rule within a
  /// millisecond. Records that are queued when direct mode is chosen are still
  /// written, maybe behind later direct ones. Without a writer thread (no init(), or a failed one)
  /// records pile up and callers block when the queue is full.
  virtual void asynch(bool on) = 0;

  /// Ends the service: disables all levels, writes what is queued, ends the writer thread, writes
  /// the closing record (DEBUG, "\nlog system release\n", empty location, whatever the mask was)
  /// and closes the file. Standard output is not closed, and remains the output where it was.
  ///
  /// Of records whose write() has begun before, it writes those that are queued, and those of
  /// threads that wait in write(), for room in the queue or for their turn at the output: all of
  /// them, before the closing record. It waits where the output takes nothing, as a FIFO that
  /// nobody reads. A write() that has not come so far, and one that begins while release() runs, is
  /// written before the closing record, or waits and is then as one that begins after release().
  ///
  /// Once the file is closed, another call writes nothing. init() may follow.
  /// Takes the lock for writing.
  virtual void release() = 0;

  /// Writes one record, whatever ms_type_sign is: looking at it is the caller's job.
  /// type       any value
  /// message    the text; null writes nothing
  /// location   where the record comes from; null is an empty text
  ///
  /// Both texts are zero-terminated and remain the caller's.
  ///
  /// Writes nothing as long as there is no output: before file() has succeeded, after a release()
  /// that closed the file, and when the file was to be rotated and its directory was gone, until
  /// file() succeeds.
  /// In direct mode the record is in the file when write() returns. In queued mode a copy is put
  /// into a queue of 16,384 bytes; when that is full, write() blocks until there is room. See
  /// log_options() for other sizes, and for dropping records instead.
  /// Sees the settings as they were at one moment. In direct mode takes the lock for writing, in
  /// queued mode none: as long as there is room, a record does not wait for the output.
  virtual void write(Type type, const char* message, const char* location) = 0;

  virtual ~IRunLog() {}
};

/// Traces a scope: while TRACE is enabled, writes "Call: " and a text when it is made and "Ret: "
/// and the text when it ends, to the log that the facade has at that moment, if any.
///
/// Each end looks at the level by itself. Where TRACE is enabled only within the scope, the "Ret: "
/// record comes without text and location.
/// Nothing throws: without memory a record is dropped. One object belongs to one thread.
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
