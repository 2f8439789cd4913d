// The output under its lock. A record's text is made before the lock is taken, on the stack if it
// has room there.
#include "fwbase/runlog/log_output.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iostream>
#include <memory_resource>
#include <new>
#include <utility>

#include "fwbase/runlog/runlog.h"
#include "fwbase/support/gbk.h"
#include "utility/cancellation_block.h"

namespace fwbase {

using support::WriteGuard;

namespace {

// Room for the text of nearly every record: formatted texts have 1,022 characters at most.
constexpr std::size_t kTextRoom = 4096;

// A failure loses the record only, whatever the host has made of the stream's exceptions.
void put_on_standard_output(const RecordTexts& texts) {
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

// --- What the output is ---

ec::EC LogOutput::open(const char* path) {
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
    publish();
    return ec::LOG_OK;
  } catch (const std::bad_alloc&) {
    return ec::LOG_NO_MEMORY;
  }
}

void LogOutput::restart() {
  const WriteGuard guard(m_lock);
  m_file.reset();
  m_standard_output = m_rotation.has_name();
  publish();
}

void LogOutput::close(const LogRecord& last) {
  RecordTexts text;
  text.add(last);
  const WriteGuard guard(m_lock);
  put(text);
  m_file.reset();
  publish();
}

void LogOutput::publish() {
  m_state.change([there_is_one = m_standard_output || m_file](LogState& state) {
    state.has_output = there_is_one;
  });
}

// --- Writing ---

void LogOutput::write(const LogRecord& record) {
  std::array<std::byte, kTextRoom> room;
  std::pmr::monotonic_buffer_resource memory(room.data(), room.size());
  RecordTexts text(&memory);
  text.add(record);
  write(text);
}

void LogOutput::write(const RecordTexts& texts) {
  const WriteGuard guard(m_lock);
  put(texts);
}

void LogOutput::put(const RecordTexts& texts) {
  if (m_file) {
    put_into_file(texts);
  } else if (m_standard_output && texts.count() != 0) {
    put_on_standard_output(texts);
  }
}

void LogOutput::put_into_file(const RecordTexts& texts) {
  for (std::size_t next = 0; next < texts.count() && m_file;) {
    const std::size_t count = m_rotation.records_until_due(texts, next, m_file->counted_position());
    const LogFile::Appended appended = m_file->append(texts, next, count);
    next += appended.count;
    if (appended.written && m_rotation.due(m_file->counted_position()) && !rotate()) {
      next -= appended.count;
    }
  }
}

// --- Rotation ---

// Without a directory the log is silent until file() succeeds. After any other failure it goes on
// in the file that it has, and says so once. False when what was written last has to be written
// again.
bool LogOutput::rotate() {
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
      report_failed_rotation(GBK("日志文件名已被其他文件占用,继续写入原文件,暂不备份"));
      break;
    case LogRotation::Result::kFailed:
      report_failed_rotation(GBK("日志文件备份失败,继续写入原文件,稍后重试: error="),
                             ::strerrordesc_np(errno));
      break;
  }
  return result != LogRotation::Result::kDoneTooLate;
}

// Whatever levels are enabled, as the closing record: it is about the file itself.
void LogOutput::report_failed_rotation(std::string_view message, std::string_view reason) {
  if (m_failure_reported) {
    return;
  }
  BoundedText whole;
  whole.add(message).add(reason);
  LocationText location({this, __PRETTY_FUNCTION__, __FILE__, __LINE__, __DATE__, __TIME__});
  RecordTexts text;
  const bool made =
      text.add(new_record(m_state.read().details, IRunLog::ERROR, whole.text(), location.text()));
  m_failure_reported = made && m_file->append(text, 0, 1).written;
}

// --- Forks ---

void LogOutput::after_fork_in_child() {
  m_lock.after_fork_in_child();
  if (m_file) {
    m_file->part_from_parent();
  }
  publish();
}

}  // namespace fwbase
