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

/// Writes each record to the output in the caller's thread or puts it into the queue. The state
/// decides which.
///
/// m_lifecycle serialises init(), release(), finish() and options(). When a journal is wanted, it
/// serialises file() and asynch(), too. The output and the queue have one lock each. A thread that
/// waits for room in the queue holds neither. The settings are in the state and need no lock. So a
/// queued record never waits for the output's lock, and a direct record takes that lock only once.
///
/// write() holds m_gate for reading. When the writer has to stop, the log comes to a standstill:
/// threads with new records wait, and the threads inside write() leave it. Then the thread that
/// stops the writer takes m_gate for writing. At that moment the queue has all earlier records. So
/// no record is left behind when the writer or the process ends.
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

  // The output and the queue are in cache lines of their own: each record changes one of them,
  // while it only reads the state and the gate.
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
