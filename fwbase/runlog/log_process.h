// The built-in run log: output, writer thread and its queue.
#ifndef FWBASE_RUNLOG_LOG_PROCESS_H
#define FWBASE_RUNLOG_LOG_PROCESS_H

#include <ace/Task.h>
#include <pthread.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include <fwbase/irunlog.h>

#include "fwbase/runlog/log_file.h"
#include "fwbase/runlog/log_record.h"
#include "fwbase/support/rw_lock.h"

namespace fwbase {

/// Writes records in the caller's thread, or in queued mode in a thread of its own.
///
/// Locks: m_lifecycle makes init(), release() and finish() follow each other; m_lock guards the
/// output and the settings. No lock is held while a message waits in the queue.
///
/// When the writer has to stop, the log comes to a standstill: threads that want to write wait,
/// those that are putting messages into the queue finish, and only then the queue is emptied. So no
/// record can slip behind the stop message, into the next round or past the end of the process.
class CLogProcess : public IRunLog, public ACE_Task<ACE_MT_SYNCH> {
 public:
  CLogProcess() = default;

  ec::EC init() override;
  void type(unsigned int mask) override;
  void info(unsigned int flags) override;
  ec::EC file(const char* path) override;
  void asynch(bool on) override;
  void release() override;
  void write(Type type, const char* message, const char* location) override;

  /// The writer thread: writes the queue's records until the stop message.
  int svc() override;

  /// Starts the writer thread, and waits for its end. The task's own operations would make records
  /// of the thread in other places, and without memory for one of these a new thread crashes and an
  /// ended one is never joined. Of the arguments none is looked at: one joinable thread is started.
  int activate(long flags = THR_NEW_LWP | THR_JOINABLE | THR_INHERIT_SCHED, int threads = 1,
               int force = 0, long priority = ACE_DEFAULT_THREAD_PRIORITY, int group = -1,
               ACE_Task_Base* task = nullptr, ACE_hthread_t* handles = nullptr,
               void** stacks = nullptr, size_t* sizes = nullptr, ACE_thread_t* ids = nullptr,
               const char** names = nullptr) override;
  int wait() override;

  /// For the end of the process: writes what is queued and ends the writer thread for good. The
  /// log stays usable; records are written in the caller's thread from then on.
  void finish();

  /// For the facade, when the process forks. The child has no writer thread, and the queue belongs
  /// to the parent: it writes in the caller's thread, until init() gives it a writer of its own.
  support::RwLock& lock() { return m_lock; }
  void after_fork_in_child();

 private:
  enum class Way { kNone, kDirect, kQueued };
  class Standstill;

  // Hides nothing of ACE's: these overloads belong to its dynamic services.
  using ACE_Task<ACE_MT_SYNCH>::init;
  using ACE_Task<ACE_MT_SYNCH>::info;

  Way admit(LogRecord& record);
  bool enqueue(const LogRecord& record);
  void leave_queue();
  void write_message(const ACE_Message_Block& message);
  void do_write_log(const LogRecord& record);

  LogRecord details() const FWBASE_REQUIRES_SHARED(m_lock);
  bool has_output() const FWBASE_REQUIRES_SHARED(m_lock);
  void output(const std::string& text) FWBASE_REQUIRES(m_lock);
  void backup_log() FWBASE_REQUIRES(m_lock);
  void keep_file_open() FWBASE_REQUIRES(m_lock);

  void begin_standstill();
  void end_standstill();
  void renew_task();
  ec::EC start_writer() FWBASE_REQUIRES(m_lock);
  void stop_writer();

  support::RwLock m_lock;
  bool m_standard_output FWBASE_GUARDED_BY(m_lock) = false;
  std::unique_ptr<LogFile> m_file FWBASE_GUARDED_BY(m_lock);
  std::unique_ptr<LogFile> m_earlier_files FWBASE_GUARDED_BY(m_lock);  // a list; they stay open
  std::string m_file_name FWBASE_GUARDED_BY(m_lock);
  bool m_asynch FWBASE_GUARDED_BY(m_lock) = false;
  bool m_finished FWBASE_GUARDED_BY(m_lock) = false;
  std::atomic<unsigned int> m_info{0};  // the writer thread looks at it without the lock

  // Changed under m_lock, so that admit() sees either no standstill or counts before it begins.
  std::atomic<bool> m_standstill{false};
  std::atomic<unsigned int> m_enqueuing{0};  // threads between admit() and the end of enqueue()

  std::mutex m_lifecycle;
  pthread_t m_writer{};  // under m_lifecycle, while thr_count() is 1
  // Given up by a forked child, and not to be taken for leaked.
  ACE_Message_Queue<ACE_MT_SYNCH>* m_parents_queue = nullptr;
  bool m_has_writer = false;          // under m_lifecycle
  std::atomic<bool> m_forked{false};  // writer and queue are those of the parent
};

}  // namespace fwbase

#endif
