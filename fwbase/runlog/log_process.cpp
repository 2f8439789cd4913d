// The built-in run log: output, writer thread and its queue.
#include "fwbase/runlog/log_process.h"

#include <ace/Signal.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iostream>
#include <memory>
#include <memory_resource>
#include <new>
#include <utility>

#include "fwbase/runlog/local_time.h"
#include "fwbase/runlog/packed_record.h"
#include "fwbase/support/gbk.h"
#include "fwbase/support/process_id.h"
#include "fwbase/support/run_log.h"
#include "utility/cancellation_block.h"

namespace fwbase {

using support::WriteGuard;

namespace {

// Room for the text of nearly every record: formatted texts have 1,022 characters at most.
constexpr std::size_t kTextRoom = 4096;

// All but those that a fault of the thread itself raises.
ACE_Sig_Set host_signals() {
  ACE_Sig_Set signals(true);
  for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
    signals.sig_del(fault);
  }
  return signals;
}

// A record with the details that the flags ask for.
LogRecord record_with(unsigned int flags) {
  LogRecord record;
  record.pid = (flags & IRunLog::INFO_PID) != 0 ? support::process_id() : 0;
  record.tid = (flags & IRunLog::INFO_TID) != 0 ? support::process_id() : 0;  // as readers expect
  if ((flags & IRunLog::INFO_TIME) != 0) {
    record.time = std::time(nullptr);
  }
  return record;
}

}  // namespace

class CLogProcess::Standstill {
 public:
  explicit Standstill(CLogProcess& log) : m_log(log) { m_log.begin_standstill(); }
  ~Standstill() { m_log.end_standstill(); }
  Standstill(const Standstill&) = delete;
  Standstill& operator=(const Standstill&) = delete;

 private:
  CLogProcess& m_log;
};

// A thread that writes a record itself. It says so before it looks whether the log stands still: a
// standstill that it has not seen waits for it.
class CLogProcess::DirectWriter {
 public:
  explicit DirectWriter(CLogProcess& log) : m_log(log) { ++m_log.m_direct_writers; }
  ~DirectWriter() {
    if (--m_log.m_direct_writers == 0 && m_log.m_standstill) {
      m_log.m_direct_writers.notify_all();
    }
  }
  DirectWriter(const DirectWriter&) = delete;
  DirectWriter& operator=(const DirectWriter&) = delete;

 private:
  CLogProcess& m_log;
};

// --- Settings ---

ec::EC CLogProcess::init() {
  const utility::CancellationBlock no_cancellation;
  const std::lock_guard<std::mutex> lifecycle(m_lifecycle);
  // After an init() without a release() the earlier writer ends first, with its queue written.
  const Standstill standstill(*this);
  const WriteGuard guard(m_lock);
  m_asynch = false;
  ms_type_sign = 0;
  m_info = 0;
  m_file.reset();
  m_standard_output = true;
  const ec::EC result = m_finished ? ec::LOG_OK : start_writer();
  publish();
  return result;
}

void CLogProcess::type(unsigned int mask) {
  const WriteGuard guard(m_lock);
  ms_type_sign = mask;
}

void CLogProcess::info(unsigned int flags) {
  const WriteGuard guard(m_lock);
  m_info = flags;
  publish();
}

void CLogProcess::asynch(bool on) {
  const WriteGuard guard(m_lock);
  m_asynch = on;
  publish();
}

ec::EC CLogProcess::file(const char* path) {
  if (path == nullptr) {
    return ec::LOG_BAD_PARAM;
  }
  try {
    auto opened = std::make_unique<LogFile>();
    LogRotation rotation(path);
    if (!opened->open(rotation.path())) {
      return ec::LOG_OPEN_FAILED;
    }
    const utility::CancellationBlock no_cancellation;
    const WriteGuard guard(m_lock);
    // A rotation may just have made it a backup.
    if (!rotation.names(*opened) && !opened->open_regular(rotation.path())) {
      return ec::LOG_OPEN_FAILED;
    }
    m_file.swap(opened);
    m_rotation = std::move(rotation);
    m_failure_reported = false;
    m_standard_output = false;
    m_has_name = true;
    publish();
    return ec::LOG_OK;
  } catch (const std::bad_alloc&) {
    return ec::LOG_NO_MEMORY;
  }
}

void CLogProcess::release() {
  const utility::CancellationBlock no_cancellation;
  const std::lock_guard<std::mutex> lifecycle(m_lifecycle);
  type(0);
  const Standstill standstill(*this);
  LogRecord closing = record_with(m_published.load().info);
  closing.type = DEBUG;
  closing.message = "\nlog system release\n";
  RecordTexts text;
  text.add(closing);
  // In one step, so that no record follows the closing one.
  const WriteGuard guard(m_lock);
  output(text);
  m_file.reset();
  publish();
}

void CLogProcess::finish() {
  const utility::CancellationBlock no_cancellation;
  const std::lock_guard<std::mutex> lifecycle(m_lifecycle);
  const Standstill standstill(*this);
  const WriteGuard guard(m_lock);
  m_finished = true;
  publish();
}

// --- Writing, in the caller's thread ---

void CLogProcess::write(Type type, const char* message, const char* location) {
  if (message == nullptr) {
    return;
  }
  for (bool taken = false; !taken;) {
    unsigned int round;
    const Admission admission = admit(round);
    if (admission.way == Way::kNone) {
      return;
    }
    LogRecord record = record_with(admission.info);
    record.type = type;
    record.message = message;
    record.location = location != nullptr ? location : "";
    taken = admission.way == Way::kDirect
                ? write_directly(record)
                : m_queue.push(record, round) != LogQueue::Push::kRoundOver;
  }
}

// Says how a record is to be written now. The round comes first: should the log be stopped and
// started again before the rest is read, the queue refuses the record.
CLogProcess::Admission CLogProcess::admit(unsigned int& round) {
  do {
    while (m_standstill) {
      m_standstill.wait(true);
    }
    round = m_queue.round();
  } while (m_standstill);
  return m_published;
}

// False when the log has come to a standstill before the record's turn could.
bool CLogProcess::write_directly(const LogRecord& record) {
  const DirectWriter writer(*this);
  if (m_standstill) {
    return false;
  }
  do_write_log(record);
  return true;
}

// --- Output ---

void CLogProcess::do_write_log(const LogRecord& record) {
  std::array<std::byte, kTextRoom> room;
  std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
  RecordTexts text(&memory);
  text.add(record);
  const WriteGuard guard(m_lock);
  output(text);
}

void CLogProcess::publish() {
  Admission admission;
  admission.info = m_info;
  if ((m_standard_output || m_file) && m_has_name) {
    admission.way = m_asynch && !m_finished && !m_forked ? Way::kQueued : Way::kDirect;
  }
  m_published = admission;
}

namespace {

// A failure loses the record only, whatever the host has made of the stream's exceptions.
void write_standard_output(const RecordTexts& texts) {
  const utility::CancellationBlock no_cancellation;
  try {
    const auto size = static_cast<std::streamsize>(texts.bytes().size());
    std::cout.write(texts.bytes().data(), size).flush();
    if (!std::cout) {
      std::cout.clear();
    }
  } catch (const std::exception&) {
    std::cout.clear();
  }
}

}  // namespace

void CLogProcess::output(const RecordTexts& texts) {
  if (texts.count() == 0 || !m_has_name) {
    return;
  }
  if (m_standard_output) {
    write_standard_output(texts);
    return;
  }
  for (std::size_t next = 0; next < texts.count() && m_file;) {
    const std::size_t count = m_rotation.records_until_due(texts, next, m_file->counted_position());
    const LogFile::Appended appended = m_file->append(texts, next, count);
    next += appended.count;
    if (appended.written && m_rotation.due(m_file->counted_position()) &&
        m_rotation.due(m_file->position()) && !backup_log()) {
      next -= appended.count;
    }
  }
}

// Without a directory the log is silent until file() succeeds. After any other failure it goes on
// in the file that it has, and says so once. False when what was written last has to be written
// again.
bool CLogProcess::backup_log() {
  const utility::CancellationBlock no_cancellation;
  const LogRotation::Result result = m_rotation.rotate(*m_file);
  switch (result) {
    case LogRotation::Result::kDone:
    case LogRotation::Result::kDoneTooLate:
      m_failure_reported = false;
      break;
    case LogRotation::Result::kNoDirectory:
      m_file.reset();
      publish();
      break;
    case LogRotation::Result::kForeign:
      report_failed_backup(GBK("日志文件名已被其他文件占用,继续写入原文件,暂不备份"));
      break;
    case LogRotation::Result::kFailed: {
      char message[128];
      std::snprintf(message, sizeof message,
                    GBK("日志文件备份失败,继续写入原文件,稍后重试: error=%s"),
                    ::strerrordesc_np(errno));
      report_failed_backup(message);
      break;
    }
  }
  return result != LogRotation::Result::kDoneTooLate;
}

// Whatever levels are enabled, as the closing record: it is about the file itself.
void CLogProcess::report_failed_backup(const char* message) {
  if (m_failure_reported) {
    return;
  }
  char location[512];
  std::snprintf(location, sizeof location, "this(0x%x) %s %s(%d) CT:%s %s", support::addr32(this),
                __PRETTY_FUNCTION__, __FILE__, __LINE__, __DATE__, __TIME__);
  LogRecord record = record_with(m_info);
  record.type = ERROR;
  record.message = message;
  record.location = location;
  RecordTexts text;
  m_failure_reported = text.add(record) && m_file->append(text, 0, 1).written;
}

// --- The writer thread ---

void CLogProcess::write_queued() {
  std::vector<char> packed;
  RecordTexts texts;
  while (m_queue.take(packed)) {
    write_records(packed, texts);
  }
}

// All in one piece, as long as there is memory for their texts. The flags of this moment, not of
// the record's, say whether a time is read.
void CLogProcess::write_records(const std::vector<char>& packed, RecordTexts& texts) {
  PackedRecords records(packed);
  while (const auto record = records.next((m_published.load().info & INFO_TIME) != 0)) {
    if (!texts.add(*record)) {
      write_texts(texts);
      texts.add(*record);
    }
  }
  write_texts(texts);
}

void CLogProcess::write_texts(RecordTexts& texts) {
  {
    const WriteGuard guard(m_lock);
    output(texts);
  }
  texts.clear();
}

bool CLogProcess::start_thread(pthread_t& thread) {
  const auto run = [](void* log) -> void* {
    static_cast<CLogProcess*>(log)->write_queued();
    return nullptr;
  };
  return ::pthread_create(&thread, nullptr, run, this) == 0;
}

ec::EC CLogProcess::start_writer() {
  ACE_Sig_Set signals = host_signals();
  const ACE_Sig_Guard blocked(&signals);  // the writer inherits that: its host handles them
  m_forked = false;
  m_has_writer = start_thread(m_writer);
  return m_has_writer ? ec::LOG_OK : ec::LOG_THREAD_FAILED;
}

// What is in the queue is written, by whoever ends it where there is no writer.
void CLogProcess::begin_standstill() {
  m_standstill = true;
  wait_for_direct_writers();
  m_queue.close();
  if (m_has_writer) {
    ::pthread_join(m_writer, nullptr);
    m_has_writer = false;
  } else {
    write_queued();
  }
  m_queue.open();
}

void CLogProcess::wait_for_direct_writers() {
  for (unsigned int count = m_direct_writers; count != 0; count = m_direct_writers) {
    m_direct_writers.wait(count);
  }
}

void CLogProcess::end_standstill() {
  m_standstill = false;
  m_standstill.notify_all();
}

// --- Forks ---

void CLogProcess::before_fork(const timespec& deadline) {
  m_lock.before_fork(deadline);
  m_queue.before_fork(deadline);
  local_time().before_fork(deadline);
}

void CLogProcess::after_fork_in_parent() {
  local_time().after_fork_in_parent();
  m_queue.after_fork_in_parent();
  m_lock.after_fork_in_parent();
}

// A standstill of the parent's, and what its queue holds, are not the child's.
void CLogProcess::after_fork_in_child() {
  local_time().after_fork_in_child();
  m_queue.after_fork_in_child();
  m_lock.after_fork_in_child();
  if (m_file) {
    m_file->part_from_parent();
  }
  new (&m_lifecycle) std::mutex;
  m_standstill = false;
  m_direct_writers = 0;
  m_has_writer = false;
  m_forked = true;
  publish();
}

}  // namespace fwbase
