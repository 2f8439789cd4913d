// Starting, stopping and settings of the log, and the way of a record: to the output or the queue.
#include "fwbase/runlog/log_process.h"

#include "fwbase/runlog/local_time.h"
#include "utility/cancellation_block.h"

namespace fwbase {

using support::MutexGuard;
using utility::CancellationBlock;

std::atomic<unsigned int> IRunLog::ms_type_sign{0};

// --- Start and end ---

ec::EC CLogProcess::init() {
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  // After an init() without a release() the earlier writer ends first, with its queue written.
  const LogWriter::Standstill standstill(m_writer);
  ms_type_sign = 0;
  m_output.restart();
  m_state.change([finished = m_finished](LogState& state) {
    state.asynch = false;
    state.details = 0;
    state.direct_only = finished;
  });
  return m_finished || m_writer.start() ? ec::LOG_OK : ec::LOG_THREAD_FAILED;
}

void CLogProcess::release() {
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  ms_type_sign = 0;
  const LogWriter::Standstill standstill(m_writer);
  m_output.close(new_record(m_state.read().details, DEBUG, "\nlog system release\n", ""));
}

void CLogProcess::finish() {
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  const LogWriter::Standstill standstill(m_writer);
  m_finished = true;
  m_state.change([](LogState& state) { state.direct_only = true; });
}

// --- Settings ---

void CLogProcess::type(unsigned int mask) { ms_type_sign = mask; }

void CLogProcess::info(unsigned int flags) {
  m_state.change([=](LogState& state) { state.details = flags & 0xF; });
}

void CLogProcess::asynch(bool on) {
  m_state.change([=](LogState& state) { state.asynch = on; });
}

ec::EC CLogProcess::file(const char* path) {
  return path != nullptr ? m_output.open(path) : ec::LOG_BAD_PARAM;
}

// --- Records ---

void CLogProcess::write(Type type, const char* message, const char* location) {
  bool taken = message == nullptr;
  while (!taken) {
    const LogState state = m_state.when_in_service();
    if (!state.has_output) {
      return;
    }
    const LogRecord record =
        new_record(state.details, type, message, location != nullptr ? location : "");
    taken = state.queued() ? m_queue.push(record, state.round) : write_directly(record, state);
  }
}

bool CLogProcess::write_directly(const LogRecord& record, const LogState& seen) {
  const PublishedState::DirectWrite writing(m_state, seen);
  if (writing.begun()) {
    m_output.write(record);
  }
  return writing.begun();
}

// --- Forks ---

void CLogProcess::before_fork(const timespec& deadline) {
  m_output.before_fork(deadline);
  m_queue.before_fork(deadline);
  local_time().before_fork(deadline);
}

void CLogProcess::after_fork_in_parent() {
  local_time().after_fork_in_parent();
  m_queue.after_fork_in_parent();
  m_output.after_fork_in_parent();
}

// A standstill of the parent's, and what its queue holds, are not the child's.
void CLogProcess::after_fork_in_child() {
  local_time().after_fork_in_child();
  m_queue.after_fork_in_child();
  m_output.after_fork_in_child();
  m_lifecycle.after_fork_in_child();
  m_writer.after_fork_in_child();
  m_state.change([](LogState& state) {
    state.round = 0;
    state.direct_writers = 0;
    state.direct_only = true;
    state.standstill = false;
  });
}

}  // namespace fwbase
