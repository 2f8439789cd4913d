// The writer thread writes all that it finds in the queue in one piece. What is left, or all where
// there is no thread, is written by who stops the log.
#include "fwbase/runlog/log_writer.h"

#include <ace/Signal.h>

#include <vector>

#include "fwbase/runlog/packed_record.h"

namespace fwbase {

namespace {

// All but those that a fault of the thread itself raises.
ACE_Sig_Set host_signals() {
  ACE_Sig_Set signals(true);
  for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
    signals.sig_del(fault);
  }
  return signals;
}

}  // namespace

bool LogWriter::start() {
  ACE_Sig_Set signals = host_signals();
  const ACE_Sig_Guard blocked(&signals);  // the thread inherits that: its host handles them
  const auto run = [](void* writer) -> void* {
    static_cast<LogWriter*>(writer)->write_queued();
    return nullptr;
  };
  m_runs = ::pthread_create(&m_thread, nullptr, run, this) == 0;
  return m_runs;
}

// A record may have come behind the end of the thread.
void LogWriter::stop() {
  if (m_runs) {
    ::pthread_join(m_thread, nullptr);
    m_runs = false;
  }
  write_queued();
}

// Without memory for all texts at once, those that are there are written first. The flags of this
// moment, not of the record's, say whether a time is read.
void LogWriter::write_queued() {
  std::vector<char> packed;
  RecordTexts texts;
  const auto write = [&] {
    m_output.write(texts);
    texts.clear();
  };
  while (m_queue.take(packed)) {
    PackedRecords records(packed);
    while (const auto record = records.next((m_state.read().details & IRunLog::INFO_TIME) != 0)) {
      if (!texts.add(*record)) {
        write();
        texts.add(*record);
      }
    }
    write();
  }
}

}  // namespace fwbase
