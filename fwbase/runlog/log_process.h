// The built-in run log: output, writer thread and its queue.
#ifndef FWBASE_RUNLOG_LOG_PROCESS_H
#define FWBASE_RUNLOG_LOG_PROCESS_H

#include <pthread.h>

#include <atomic>
#include <ctime>
#include <memory>
#include <mutex>
#include <vector>

#include <fwbase/irunlog.h>

#include "fwbase/runlog/log_file.h"
#include "fwbase/runlog/log_queue.h"
#include "fwbase/runlog/log_record.h"
#include "fwbase/runlog/log_rotation.h"
#include "fwbase/support/rw_lock.h"

namespace fwbase {

/// Writes records in the caller's thread, or in queued mode in a thread of its own.
///
/// Locks: m_lifecycle makes init(), release() and finish() follow each other; m_lock guards the
/// output and the settings; the queue has a lock of its own. No other lock is held while a record
/// waits for room in the queue. Who writes a record looks at the settings without m_lock, in the
/// form in which they were published: thus a queued record never waits for the lock that the output
/// holds, nor a direct one twice.
///
/// When the writer has to stop, the log comes to a standstill: threads that want to write wait, the
/// queue's round ends, and what is in the queue is written, with the records of the threads that
/// wait for room in it or for the output. So no record can slip behind the end, into the next round
/// or past the end of the process.
class CLogProcess : public IRunLog {
 public:
  CLogProcess() = default;

  ec::EC init() override;
  void type(unsigned int mask) override;
  void info(unsigned int flags) override;
  ec::EC file(const char* path) override;
  void asynch(bool on) override;
  void release() override;
  void write(Type type, const char* message, const char* location) override;

  /// What the writer thread does: writes the queue's records until the queue is closed and empty.
  virtual void write_queued();

  /// Starts the writer thread. False when there can be none.
  virtual bool start_thread(pthread_t& thread);

  /// For the end of the process: writes what is queued and ends the writer thread for good. The
  /// log stays usable; records are written in the caller's thread from then on.
  void finish();

  /// For the facade, when the process forks. The child has no writer thread, and the queue belongs
  /// to the parent: it writes in the caller's thread, until init() gives it a writer of its own.
  void before_fork(const timespec& deadline);
  void after_fork_in_parent();
  void after_fork_in_child() FWBASE_NO_THREAD_SAFETY_ANALYSIS;

  /// For tests.
  const LogQueue& queue() const { return m_queue; }
  bool has_writer() const { return m_has_writer; }
  unsigned int direct_writers() const { return m_direct_writers; }

 private:
  enum class Way { kNone, kDirect, kQueued };

  /// What write() needs to know of the settings; for the processor one word.
  struct alignas(8) Admission {
    Way way = Way::kNone;
    unsigned int info = 0;
  };
  static_assert(std::atomic<Admission>::is_always_lock_free);

  class Standstill;
  class DirectWriter;

  Admission admit(unsigned int& round);
  bool write_directly(const LogRecord& record);
  void do_write_log(const LogRecord& record);
  void write_records(const std::vector<char>& packed, RecordTexts& texts);
  void write_texts(RecordTexts& texts);

  /// To be called by whoever has changed the output or a setting.
  void publish() FWBASE_REQUIRES(m_lock);
  void output(const RecordTexts& texts) FWBASE_REQUIRES(m_lock);
  bool backup_log() FWBASE_REQUIRES(m_lock);
  void report_failed_backup(const char* message) FWBASE_REQUIRES(m_lock);

  void begin_standstill();
  void wait_for_direct_writers();
  void end_standstill();
  ec::EC start_writer() FWBASE_REQUIRES(m_lock);

  support::RwLock m_lock;
  bool m_standard_output FWBASE_GUARDED_BY(m_lock) = false;
  std::unique_ptr<LogFile> m_file FWBASE_GUARDED_BY(m_lock);
  LogRotation m_rotation FWBASE_GUARDED_BY(m_lock);
  bool m_failure_reported FWBASE_GUARDED_BY(m_lock) = false;  // of the rotation
  bool m_has_name FWBASE_GUARDED_BY(m_lock) = false;          // file() has succeeded once
  unsigned int m_info FWBASE_GUARDED_BY(m_lock) = 0;
  bool m_asynch FWBASE_GUARDED_BY(m_lock) = false;
  bool m_finished FWBASE_GUARDED_BY(m_lock) = false;
  bool m_forked FWBASE_GUARDED_BY(m_lock) = false;  // the writer is the parent's
  std::atomic<Admission> m_published{Admission{}};

  std::atomic<bool> m_standstill{false};
  std::atomic<unsigned int> m_direct_writers{0};

  // In lines of its own: the writer changes it all the time, and what is before it is read for each
  // record.
  alignas(64) LogQueue m_queue;
  std::mutex m_lifecycle;
  pthread_t m_writer{};                   // under m_lifecycle, while m_has_writer
  std::atomic<bool> m_has_writer{false};  // changed under m_lifecycle
};

}  // namespace fwbase

#endif
