// The built-in run log: output, writer thread and its queue.
#include "fwbase/runlog/log_process.h"

#include <ace/Signal.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <iostream>
#include <memory>
#include <new>
#include <utility>

#include "fwbase/runlog/log_message.h"
#include "fwbase/runlog/log_rotation.h"

namespace fwbase {

using support::ReadGuard;
using support::WriteGuard;

namespace {

// Nothing without memory: the record is dropped.
std::string text_or_nothing(const LogRecord& record) {
  try {
    return record_text(record);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return std::string();
  }
}

// All but those that a fault of the thread itself raises.
ACE_Sig_Set host_signals() {
  ACE_Sig_Set signals(1);
  for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
    signals.sig_del(fault);
  }
  return signals;
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

// --- Settings ---

ec::EC CLogProcess::init() {
  const std::lock_guard<std::mutex> lifecycle(m_lifecycle);
  // After an init() without a release() the earlier writer ends first, with its queue written.
  const Standstill standstill(*this);
  const WriteGuard guard(m_lock);
  m_asynch = false;
  ms_type_sign = 0;
  m_info = 0;
  keep_file_open();
  m_standard_output = true;
  return m_finished ? ec::LOG_OK : start_writer();
}

void CLogProcess::type(unsigned int mask) {
  const WriteGuard guard(m_lock);
  ms_type_sign = mask;
}

void CLogProcess::info(unsigned int flags) {
  const WriteGuard guard(m_lock);
  m_info = flags;
}

void CLogProcess::asynch(bool on) {
  const WriteGuard guard(m_lock);
  m_asynch = on;
}

ec::EC CLogProcess::file(const char* path) {
  if (path == nullptr) {
    return ec::LOG_BAD_PARAM;
  }
  std::unique_ptr<LogFile> opened(new (std::nothrow) LogFile);
  if (!opened) {
    return ec::LOG_NO_MEMORY;
  }
  try {
    std::string name(path);
    if (!opened->open(path, LogFile::Content::kKeep)) {
      return ec::LOG_OPEN_FAILED;
    }
    const WriteGuard guard(m_lock);
    keep_file_open();
    m_file = std::move(opened);
    m_standard_output = false;
    m_file_name.swap(name);
    return ec::LOG_OK;
  } catch (const std::bad_alloc&) {
    return ec::LOG_NO_MEMORY;
  }
}

void CLogProcess::release() {
  const std::lock_guard<std::mutex> lifecycle(m_lifecycle);
  type(0);
  const Standstill standstill(*this);
  LogRecord closing;
  {
    const ReadGuard guard(m_lock);
    closing = details();
  }
  closing.type = DEBUG;
  closing.message = "\nlog system release\n";
  const std::string text = text_or_nothing(closing);
  // In one step, so that no record follows the closing one.
  const WriteGuard guard(m_lock);
  output(text);
  m_file.reset();
}

void CLogProcess::finish() {
  const std::lock_guard<std::mutex> lifecycle(m_lifecycle);
  const Standstill standstill(*this);
  const WriteGuard guard(m_lock);
  m_finished = true;
}

// --- Writing, in the caller's thread ---

void CLogProcess::write(Type type, const char* message, const char* location) {
  if (message == nullptr) {
    return;
  }
  for (;;) {
    LogRecord record;
    const Way way = admit(record);
    record.type = type;
    record.message = message;
    record.location = location != nullptr ? location : "";
    if (way == Way::kDirect) {
      do_write_log(record);
      return;
    }
    if (way == Way::kNone || enqueue(record)) {
      return;
    }
  }
}

// Says how a record is to be written now, and takes down its details. A thread admitted to the
// queue is counted until it leaves enqueue().
CLogProcess::Way CLogProcess::admit(LogRecord& record) {
  for (;;) {
    m_standstill.wait(true);
    const ReadGuard guard(m_lock);
    if (m_standstill) {
      continue;
    }
    if (!has_output() || m_file_name.empty()) {
      return Way::kNone;
    }
    record = details();
    if (!m_asynch || m_finished || m_forked || msg_queue() == nullptr) {
      return Way::kDirect;
    }
    ++m_enqueuing;
    return Way::kQueued;
  }
}

// False when the log came to a standstill while the record waited for room in the queue: it is
// not in the queue then. A thread that is cancelled while it waits leaves the queue as well.
bool CLogProcess::enqueue(const LogRecord& record) {
  struct Leaving {
    CLogProcess& log;
    ~Leaving() { log.leave_queue(); }
  } const leaving{*this};
  MessagePtr message = pack_record(record);
  const bool done = !message || putq(message.get()) != -1;
  if (done) {
    message.release();
  }
  return done;
}

void CLogProcess::leave_queue() {
  if (--m_enqueuing == 0) {
    m_enqueuing.notify_all();
  }
}

LogRecord CLogProcess::details() const {
  LogRecord record;
  const unsigned int flags = m_info;
  record.pid = (flags & INFO_PID) != 0 ? ::getpid() : 0;
  record.tid = (flags & INFO_TID) != 0 ? ::getpid() : 0;  // not a thread's: as readers expect
  if ((flags & INFO_TIME) != 0) {
    record.time = std::time(nullptr);
  }
  return record;
}

// --- Output ---

void CLogProcess::do_write_log(const LogRecord& record) {
  const std::string text = text_or_nothing(record);
  const WriteGuard guard(m_lock);
  output(text);
}

bool CLogProcess::has_output() const { return m_standard_output || m_file != nullptr; }

namespace {

// A failure loses the record only, whatever the host has made of the stream's exceptions.
void write_standard_output(const std::string& text) {
  try {
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
    if (!std::cout) {
      std::cout.clear();
    }
  } catch (const std::exception&) {
    std::cout.clear();
  }
}

}  // namespace

void CLogProcess::output(const std::string& text) {
  if (text.empty() || m_file_name.empty()) {
    return;
  }
  if (m_standard_output) {
    write_standard_output(text);
  } else if (m_file && m_file->append(text) && rotation_due(m_file->position())) {
    backup_log();
  }
}

// Without a new file the log is silent until file() succeeds. Without memory the next record finds
// the rotation still due.
void CLogProcess::backup_log() {
  try {
    rotate_backups(m_file_name);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return;
  }
  if (!m_file->open(m_file_name.c_str(), LogFile::Content::kDiscard)) {
    m_file.reset();
  }
}

// The file that was written so far is neither closed nor written any more.
void CLogProcess::keep_file_open() {
  if (m_file) {
    m_file->next = std::move(m_earlier_files);
    m_earlier_files = std::move(m_file);
  }
}

// --- The writer thread ---

int CLogProcess::svc() {
  ACE_Message_Block* next = nullptr;
  while (getq(next) != -1) {
    const MessagePtr message(next);
    if (message->msg_type() == ACE_Message_Block::MB_HANGUP) {
      break;
    }
    write_message(*message);
  }
  return 0;
}

int CLogProcess::activate(long, int, int, long, int, ACE_Task_Base*, ACE_hthread_t*, void**,
                          size_t*, ACE_thread_t*, const char**) {
  const auto run = [](void* log) -> void* {
    static_cast<CLogProcess*>(log)->svc();
    return nullptr;
  };
  if (::pthread_create(&m_writer, nullptr, run, this) != 0) {
    return -1;
  }
  thr_count_ = 1;
  return 0;
}

int CLogProcess::wait() {
  if (thr_count_ != 0) {
    ::pthread_join(m_writer, nullptr);
    thr_count_ = 0;
  }
  return 0;
}

// The flags of this moment, not of the record's, say whether a time is read.
void CLogProcess::write_message(const ACE_Message_Block& message) {
  if (const auto record = unpack_record(message, (m_info & INFO_TIME) != 0)) {
    do_write_log(*record);
  }
}

ec::EC CLogProcess::start_writer() {
  ACE_Sig_Set signals = host_signals();
  const ACE_Sig_Guard blocked(&signals);  // the writer inherits that: its host handles them
  if (m_forked) {
    renew_task();
    m_forked = false;
  }
  m_has_writer = msg_queue() != nullptr && activate() == 0;
  return m_has_writer ? ec::LOG_OK : ec::LOG_THREAD_FAILED;
}

void CLogProcess::stop_writer() {
  MessagePtr stop = shut_down_message();
  if (stop && putq(stop.get()) != -1) {
    stop.release();
  } else {
    msg_queue()->deactivate();
  }
  wait();
  m_has_writer = false;
}

void CLogProcess::begin_standstill() {
  {
    const WriteGuard guard(m_lock);
    m_standstill = true;
  }
  if (msg_queue() == nullptr || m_forked) {
    return;  // all is direct: there was no memory for a queue, or it is the parent's
  }
  if (!m_has_writer) {
    msg_queue()->deactivate();  // nobody makes room for threads that wait for it
  }
  while (const unsigned int enqueuing = m_enqueuing) {
    m_enqueuing.wait(enqueuing);
  }
  if (m_has_writer) {
    stop_writer();
  }
  msg_queue()->activate();
  // What is left was queued without a writer, or with no memory for a stop message.
  ACE_Message_Block* next = nullptr;
  while (!msg_queue()->is_empty() && getq(next) != -1) {
    write_message(*MessagePtr(next));
  }
}

// A standstill of the parent's, and threads that were putting messages into its queue, are not the
// child's.
void CLogProcess::after_fork_in_child() {
  m_lock.after_fork_in_child();
  new (&m_lifecycle) std::mutex;
  m_standstill = false;
  m_enqueuing = 0;
  m_has_writer = false;
  m_forked = true;
}

// Threads of the parent may have held the locks in the task and its queue, and the child has only
// copies of them: they are left as they are, and others take their place.
void CLogProcess::renew_task() {
  new (&lock_) ACE_Thread_Mutex;
  thr_count_ = 0;
  m_parents_queue = msg_queue();
  delete_msg_queue_ = false;
  msg_queue(new (std::nothrow) ACE_Message_Queue<ACE_MT_SYNCH>);
  delete_msg_queue_ = true;
}

void CLogProcess::end_standstill() {
  m_standstill = false;
  m_standstill.notify_all();
}

}  // namespace fwbase
