// Starts, stops and configures the log, and takes each record to the output or the queue.
#include "fwbase/runlog/log_process.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "support/cancellation_block.h"

namespace fwbase {

using support::CancellationBlock;
using support::MutexGuard;

std::atomic<unsigned int> IRunLog::ms_type_sign{0};

class FWBASE_SCOPED_CAPABILITY CLogProcess::Standstill {
 public:
  explicit Standstill(CLogProcess& log) FWBASE_ACQUIRE(log.m_gate) FWBASE_REQUIRES(log.m_lifecycle)
      : m_log(announced(log)), m_alone(log.m_gate) {
    m_log.m_writer.stop();
    m_log.end_journal();
    m_log.m_queue.open();  // for the writer that may be started
  }
  ~Standstill() FWBASE_RELEASE() {
    m_log.m_state.change([](LogState& state) { state.standstill = false; });
  }
  Standstill(const Standstill&) = delete;
  Standstill& operator=(const Standstill&) = delete;

 private:
  static CLogProcess& announced(CLogProcess& log) {
    log.m_state.change([](LogState& state) { state.standstill = true; });
    log.m_queue.close();
    return log;
  }

  CLogProcess& m_log;
  const support::WriteGuard m_alone;
};

// A standstill that ends by starting the writer again if one ran before, with a journal if one is
// wanted. When the writer cannot be started, records are written directly.
class FWBASE_SCOPED_CAPABILITY CLogProcess::Pause {
 public:
  explicit Pause(CLogProcess& log) FWBASE_ACQUIRE(log.m_gate) FWBASE_REQUIRES(log.m_lifecycle)
      : m_log(log), m_ran(runs(log)), m_standstill(log) {}
  ~Pause() FWBASE_RELEASE() FWBASE_NO_THREAD_SAFETY_ANALYSIS {
    if (m_ran) {
      m_log.start_journal();
    }
    if (m_ran && !m_log.m_writer.start()) {
      m_log.end_journal();
      m_log.m_state.change([](LogState& state) { state.direct_only = true; });
    }
  }
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;

 private:
  // Whether the writer runs changes under m_lifecycle only.
  static bool runs(const CLogProcess& log) FWBASE_NO_THREAD_SAFETY_ANALYSIS {
    return log.m_writer.runs();
  }

  CLogProcess& m_log;
  const bool m_ran;
  const Standstill m_standstill;
};

// --- Start and end ---

ec::EC CLogProcess::init() {
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  // After an init() without a release() the earlier writer ends first, with its queue written.
  const Standstill standstill(*this);
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
  const Standstill standstill(*this);
  m_output.close(new_record(m_state.read().details, DEBUG, "\nlog system release\n", ""));
}

void CLogProcess::finish() {
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  const Standstill standstill(*this);
  m_finished = true;
  m_state.change([](LogState& state) { state.direct_only = true; });
}

// --- Settings ---

void CLogProcess::type(unsigned int mask) { ms_type_sign = mask; }

void CLogProcess::info(unsigned int flags) {
  m_state.change([=](LogState& state) { state.details = flags & 0xFFFFFFF; });
}

void CLogProcess::asynch(bool on) {
  if (!m_wants_journal) {
    m_state.change([=](LogState& state) { state.asynch = on; });
    return;
  }
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  const Pause pause(*this);
  m_state.change([=](LogState& state) { state.asynch = on; });
}

// A journal belongs to one log file. Its records are written there before another file replaces it.
ec::EC CLogProcess::file(const char* path) {
  if (path == nullptr) {
    return ec::LOG_BAD_PARAM;
  }
  LogOutput::Opened opened;
  const ec::EC result = LogOutput::open(path, opened);
  if (ec::failed(result) || !m_wants_journal) {
    return ec::failed(result) ? result : m_output.install(opened);
  }
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  const Pause pause(*this);
  return m_output.install(opened);
}

ec::EC CLogProcess::options(const LogOptions& options) {
  const bool is_valid = options.queue_bytes != 0 && options.file_bytes != 0 &&
                        options.backups >= 0 && options.when_full >= LogOptions::kWait &&
                        options.when_full <= LogOptions::kDropBelow;
  const CancellationBlock no_cancellation;
  const MutexGuard lifecycle(m_lifecycle);
  if (!is_valid || m_state.read().asynch) {
    return ec::LOG_BAD_PARAM;
  }
  const ec::EC result = m_output.limit({options.file_bytes, options.backups});
  if (ec::succeeded(result)) {
    m_queue.options(options);
    m_wants_journal = options.journal;
  }
  return result;
}

// --- The journal ---

void CLogProcess::start_journal() {
  if (m_wants_journal && m_state.read().queued()) {
    constexpr std::size_t kBeside = 65536;  // for records that are longer than the queue
    constexpr std::size_t kMost = (SIZE_MAX - kBeside) / 2;
    m_journal = m_output.make_journal(2 * std::min(m_queue.bytes(), kMost) + kBeside);
  }
  m_queue.journal(m_journal.get());
  m_writer.journal(m_journal.get());
}

// Called when all queued records are written.
void CLogProcess::end_journal() {
  m_queue.journal(nullptr);
  m_writer.journal(nullptr);
  if (m_journal) {
    m_journal->remove();
    m_journal.reset();
  }
}

// --- Records ---

void CLogProcess::write(Type type, const char* message, const char* location) {
  if (message == nullptr) {
    return;
  }
  while (!write_in_service(type, message, location != nullptr ? location : "")) {
    m_state.wait_for_service();
  }
}

// Returns false during a standstill. The thread that begins a standstill waits, at the gate, for
// the threads that have read the state before.
bool CLogProcess::write_in_service(Type type, const char* message, const char* location) {
  const support::ReadGuard inside(m_gate);
  const LogState state = m_state.read();
  if (state.has_output && !state.standstill) {
    const LogRecord record = new_record(state.details, type, message, location);
    if (state.queued()) {
      m_queue.push(record);
    } else {
      m_output.write(record);
    }
  }
  return !state.standstill;
}

// --- Forks ---

// The child has no writer thread, and the parent's standstill and journal are not the child's. The
// child writes in the caller's thread until init() starts a writer.
void CLogProcess::in_child() {
  m_journal.reset();
  new (&m_writer) LogWriter(m_state, m_queue, m_output);
  m_state.change([](LogState& state) {
    state.direct_only = true;
    state.standstill = false;
  });
}

}  // namespace fwbase
