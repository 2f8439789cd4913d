// The built-in run log.
#ifndef FWBASE_RUNLOG_LOG_PROCESS_H
#define FWBASE_RUNLOG_LOG_PROCESS_H

#include <atomic>
#include <memory>

#include <fwbase/irunlog.h>
#include <fwbase/log_options.h>

#include "fwbase/runlog/log_output.h"
#include "fwbase/runlog/log_queue.h"
#include "fwbase/runlog/log_state.h"
#include "fwbase/runlog/log_writer.h"
#include "support/mutex.h"
#include "support/rw_lock.h"

namespace fwbase {

/// Gives each record to the output in its caller's thread, or to the queue, as the state says.
///
/// Locks: m_lifecycle makes init(), release(), finish() and options() follow each other, and where
/// a journal is wanted file() and asynch(), too; the output and the queue have a lock each. Neither
/// is held while a record waits for room in the queue. The settings need none, being in the state:
/// thus a queued record never waits for the lock that the output holds, nor a direct one twice.
///
/// m_gate is held for reading by who is inside write(). When the writer has to stop, the log comes
/// to a standstill: threads with new records wait, those inside are let out, and when the gate is
/// held for writing the queue has all that came before. So no record can slip behind the end, into
/// the next service or past the end of the process.
class CLogProcess final : public IRunLog {
 public:
  CLogProcess() = default;

  ec::EC init() override;
  void type(unsigned int mask) override;
  void info(unsigned int flags) override;
  ec::EC file(const char* path) override;
  void asynch(bool on) override;
  void release() override;
  void write(Type type, const char* message, const char* location) override;

  /// As fwbase::log_options().
  ec::EC options(const LogOptions& options);

  /// For the end of the process: writes what is queued and ends the writer thread for good. The
  /// log stays usable; records are written in the caller's thread from then on.
  void finish();

 private:
  class Standstill;
  class Pause;

  void start_journal() FWBASE_REQUIRES(m_gate);
  void end_journal() FWBASE_REQUIRES(m_gate);
  bool write_in_service(Type type, const char* message, const char* location);
  void in_child() FWBASE_NO_THREAD_SAFETY_ANALYSIS;

  // In lines of their own: the state and the gate are looked at for each record, and the output and
  // the queue are changed for each.
  PublishedState m_state;
  support::RwLock m_gate{support::LockRank::kLogGate};
  alignas(64) LogOutput m_output{m_state};
  alignas(64) LogQueue m_queue;
  LogWriter m_writer FWBASE_GUARDED_BY(m_gate){m_state, m_queue, m_output};
  bool m_finished FWBASE_GUARDED_BY(m_gate) = false;
  std::unique_ptr<LogJournal> m_journal FWBASE_GUARDED_BY(m_gate);
  std::atomic<bool> m_wants_journal{false};
  support::RankedMutex m_lifecycle{support::LockRank::kLogLifecycle, [this](bool) { in_child(); }};
};

}  // namespace fwbase

#endif
