// The writer thread writes all records that it finds in the queue in one piece. The thread that
// stops the log writes the records that are left, or all when there is no writer thread.
#include "fwbase/runlog/log_writer.h"

#include <ace/Signal.h>

#include <vector>

#include "fwbase/runlog/gbk.h"
#include "fwbase/runlog/packed_record.h"
#include "fwbase/runlog/runlog.h"

namespace fwbase {

namespace {

// All signals but those that a fault of the thread itself raises.
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
  const ACE_Sig_Guard blocked(&signals);  // the thread inherits the mask: the host handles them
  const auto run = [](void* writer) -> void* {
    static_cast<LogWriter*>(writer)->write_queued();
    return nullptr;
  };
  m_runs = ::pthread_create(&m_thread, nullptr, run, this) == 0;
  return m_runs;
}

// A record may have come after the end of the thread.
void LogWriter::stop() {
  if (m_runs) {
    ::pthread_join(m_thread, nullptr);
    m_runs = false;
  }
  write_queued();
}

void LogWriter::write_queued() {
  std::vector<char> packed;
  RecordTexts texts;
  m_taken = m_journal != nullptr ? m_journal->begin() : 0;
  while (m_queue.take(packed)) {
    write_packed(packed, texts);
    report_dropped(m_queue.take_dropped());
  }
}

// When there is no memory for all texts at once, writes the finished texts first. The flags of this
// moment, not of the record's, decide whether a time is shown.
void LogWriter::write_packed(const std::vector<char>& packed, RecordTexts& texts) {
  const bool with_time = (m_state.read().details & IRunLog::INFO_TIME) != 0;
  PackedRecords records(packed);
  while (const auto record = records.next(with_time)) {
    const std::uint64_t behind = m_taken + records.taken();
    if (!texts.add(*record, behind)) {
      write(texts, with_time);
      texts.add(*record, behind);
    }
  }
  write(texts, with_time);
  m_taken += packed.size();
  if (m_journal != nullptr) {
    m_journal->done(m_taken);  // also records that there was no memory for
    m_queue.journal_has_room();
  }
}

void LogWriter::write(RecordTexts& texts, bool with_time) {
  if (m_journal != nullptr) {
    const LogOutput::Journaled journaled{*m_journal,
                                         with_time ? JournalTimes::kAll : JournalTimes::kNone};
    m_output.write(texts, &journaled);
  } else {
    m_output.write(texts);
  }
  texts.clear();
}

void LogWriter::report_dropped(const LogQueue::Dropped& dropped) {
  if (dropped.queue_full != 0) {
    report_dropped(GBK("队列已满"), dropped.queue_full);
  }
  if (dropped.no_room != 0) {
    report_dropped(GBK("磁盘空间不足,.journal文件容不下过长的记录"), dropped.no_room);
  }
}

// Writes whatever levels are enabled. The report stands where the records are missing. It comes
// even if nothing is logged any more: the queue was full, so that the writer had records to take.
void LogWriter::report_dropped(const char* reason, std::uint64_t count) {
  BoundedText message;
  message.add(reason).add(GBK(",丢弃了")).add_number(count, 10).add(GBK("条记录"));
  LocationText location({this, __PRETTY_FUNCTION__, FWBASE_PLACE});
  m_output.write(
      new_record(m_state.read().details, IRunLog::ERROR, message.text(), location.text()));
}

}  // namespace fwbase
