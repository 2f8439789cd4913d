// Makes a record's text before it takes the lock, on the stack if the text has room there.
#include "fwbase/runlog/log_output.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iostream>
#include <memory_resource>
#include <new>
#include <utility>

#include "fwbase/runlog/gbk.h"
#include "fwbase/runlog/journal_recovery.h"
#include "support/cancellation_block.h"

namespace fwbase {

using support::WriteGuard;

namespace {

// Room for the text of nearly every record: formatted texts have 1,022 characters at most.
constexpr std::size_t kTextRoom = 4096;

// A failure loses only the record, even when the host has enabled the stream's exceptions.
void put_on_standard_output(const RecordTexts& texts) {
  const support::CancellationBlock no_cancellation;
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

ec::EC LogOutput::open(const char* path, Opened& opened) {
  try {
    opened.rotation = LogRotation(path);
    opened.file = std::make_unique<LogFile>();
    return opened.file->open(opened.rotation.path()) ? ec::LOG_OK : ec::LOG_OPEN_FAILED;
  } catch (const std::bad_alloc&) {
    return ec::LOG_NO_MEMORY;
  }
}

ec::EC LogOutput::install(Opened& opened) {
  const support::CancellationBlock no_cancellation;
  const WriteGuard guard(m_lock);
  try {
    opened.rotation.limit(m_limits);
  } catch (const std::bad_alloc&) {
    return ec::LOG_NO_MEMORY;
  }
  // A rotation may just have made the opened file a backup.
  if (!opened.rotation.names(*opened.file) && !opened.file->open_regular(opened.rotation.path())) {
    return ec::LOG_OPEN_FAILED;
  }
  m_file.swap(opened.file);
  m_rotation = std::move(opened.rotation);
  m_failure_reported = false;
  m_standard_output = false;
  adopt_journal();
  publish();
  return ec::LOG_OK;
}

ec::EC LogOutput::limit(const RotationLimits& limits) {
  const WriteGuard guard(m_lock);
  try {
    m_rotation.limit(limits);
  } catch (const std::exception&) {
    return ec::LOG_NO_MEMORY;
  }
  m_limits = limits;
  return ec::LOG_OK;
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
  put(text, nullptr);
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

void LogOutput::write(const RecordTexts& texts, const Journaled* journaled) {
  const WriteGuard guard(m_lock);
  put(texts, journaled);
}

void LogOutput::put(const RecordTexts& texts, const Journaled* journaled) {
  if (m_file) {
    put_into_file(texts, journaled);
  } else if (m_standard_output && texts.count() != 0) {
    put_on_standard_output(texts);
  }
  if (journaled != nullptr && texts.count() != 0) {
    journaled->journal.done(texts.mark_of(texts.count() - 1));  // also without a file
  }
}

void LogOutput::put_into_file(const RecordTexts& texts, const Journaled* journaled) {
  for (std::size_t next = 0; next < texts.count() && m_file;) {
    next += put_next(texts, next, journaled).count;
    if (journaled != nullptr && next != 0) {
      journaled->journal.done(texts.mark_of(next - 1));  // also one that could not be written
    }
  }
}

// As put_into_file(), up to a record that cannot be written.
bool LogOutput::put_whole(const RecordTexts& texts, const Journaled& journaled) {
  for (std::size_t next = 0; next < texts.count();) {
    const LogFile::Appended appended =
        m_file ? put_next(texts, next, &journaled) : LogFile::Appended{0, false};
    if (!appended.written) {
      return false;
    }
    next += appended.count;
  }
  return true;
}

LogFile::Appended LogOutput::put_next(const RecordTexts& texts, std::size_t next,
                                      const Journaled* journaled) {
  const std::size_t count = m_rotation.records_until_due(texts, next, m_file->counted_position());
  if (journaled != nullptr) {
    note(texts, next, count, *journaled);
  }
  LogFile::Appended appended = m_file->append(texts, next, count);
  std::size_t written = appended.written ? appended.count : appended.count - 1;
  if (appended.written && m_rotation.due(m_file->counted_position()) && !rotate()) {
    appended.count = written = 0;
  }
  if (journaled != nullptr) {
    LogJournal& journal = journaled->journal;
    journal.done(written != 0 ? texts.mark_of(next + written - 1) : journal.begin());
  }
  return appended;
}

void LogOutput::note(const RecordTexts& texts, std::size_t first, std::size_t count,
                     const Journaled& journaled) {
  struct stat status;
  if (!m_file->status(status)) {
    return;
  }
  const std::size_t begin = texts.begin_of(first);
  const std::size_t last = first + count - 1;
  const auto text = std::string_view(texts.bytes()).substr(begin, texts.end_of(last) - begin);
  JournalNote note;
  note.device = status.st_dev;
  note.inode = status.st_ino;
  note.offset = static_cast<std::uint64_t>(status.st_size);
  note.length = text.size();
  note.hash = journal_hash(text);
  note.to = texts.mark_of(last);
  note.times = journaled.times;
  journaled.journal.note(note);
}

// --- Rotation ---

// When the directory is gone, the log is silent until file() succeeds. After any other failure the
// log goes on in its old file and reports that once. Returns false when the last records have to be
// written again.
bool LogOutput::rotate() {
  const support::CancellationBlock no_cancellation;
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

void LogOutput::report_failed_rotation(std::string_view message, std::string_view reason) {
  if (!m_failure_reported) {
    LocationText location({this, __PRETTY_FUNCTION__, FWBASE_PLACE});
    m_failure_reported = report(message, reason, location);
  }
}

// Writes whatever levels are enabled, since the record is about the file itself.
bool LogOutput::report(std::string_view message, std::string_view reason, LocationText& location) {
  BoundedText whole;
  whole.add(message).add(reason);
  RecordTexts text;
  return m_file &&
         text.add(
             new_record(m_state.read().details, IRunLog::ERROR, whole.text(), location.text())) &&
         m_file->append(text, 0, 1).written;
}

// --- Journals ---

std::unique_ptr<LogJournal> LogOutput::make_journal(std::size_t capacity) {
  const WriteGuard guard(m_lock);
  if (!m_file) {
    return nullptr;
  }
  if (!m_rotation.rotates()) {
    report_journal(GBK("日志不是普通文件,队列没有.journal文件"));
    return nullptr;
  }
  try {
    if (adopt_journal() == LogJournal::Adopted::kLocked) {
      report_journal(GBK(".journal文件属于另一进程,本进程的队列没有.journal文件"));
      return nullptr;
    }
    std::unique_ptr<LogJournal> made = LogJournal::make(m_rotation.journal(), capacity);
    if (!made) {
      report_journal(GBK("无法建立.journal文件,队列没有.journal文件: error="),
                     ::strerrordesc_np(errno));
    }
    return made;
  } catch (const std::bad_alloc&) {
    report_journal(GBK("无法建立.journal文件,队列没有.journal文件: error="),
                   ::strerrordesc_np(ENOMEM));
    return nullptr;
  }
}

LogJournal::Adopted LogOutput::adopt_journal() {
  LogJournal::Adopted adopted = LogJournal::Adopted::kNone;
  try {
    if (m_rotation.rotates()) {
      std::unique_ptr<LogJournal> journal;
      JournalContent content;
      adopted = LogJournal::adopt(m_rotation.journal(), journal, content);
      if (adopted == LogJournal::Adopted::kTaken && recover(journal, content)) {
        journal->remove();
      } else if (adopted == LogJournal::Adopted::kTaken) {
        adopted = LogJournal::Adopted::kFailed;
      }
    }
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    adopted = LogJournal::Adopted::kFailed;
  }
  if (adopted == LogJournal::Adopted::kDamaged) {
    report_journal(GBK(".journal文件已损坏,改名为.journal.damaged,其中的记录未写入"));
  } else if (adopted == LogJournal::Adopted::kUntrusted) {
    report_journal(GBK(".journal不是本用户独有的普通文件,其中的记录未写入"));
  } else if (adopted == LogJournal::Adopted::kFailed) {
    report_journal(GBK(".journal文件中的记录未能全部写入,保留该文件: error="),
                   ::strerrordesc_np(errno));
  }
  return adopted;
}

// After each step, the journal allows another recovery: this process may be killed, too.
bool LogOutput::recover(std::unique_ptr<LogJournal>& journal, JournalContent& content) {
  if (content.note && !complete_noted_batch(journal, content)) {
    return false;
  }
  constexpr std::size_t kAtOnce = 256;
  RecordTexts texts;
  const auto begin = std::upper_bound(content.ends.begin(), content.ends.end(), journal->begin());
  const std::size_t noted = content.noted_records();
  for (auto next = static_cast<std::size_t>(begin - content.ends.begin());
       next < content.ends.size();) {
    const bool is_noted = next < noted;
    const std::size_t count = std::min(kAtOnce, (is_noted ? noted : content.ends.size()) - next);
    const Journaled journaled{*journal, is_noted ? content.note->times : JournalTimes::kStored};
    if (!content.add_texts(next, count, journaled.times, texts) || !put_whole(texts, journaled)) {
      return false;
    }
    texts.clear();
    next += count;
  }
  return true;
}

// Afterwards the log has none of the records that are left in the journal. When the missing records
// of the batch stand between written ones, a new journal gets only the missing ones: no note can
// describe such gaps.
bool LogOutput::complete_noted_batch(std::unique_ptr<LogJournal>& journal,
                                     JournalContent& content) {
  const JournalNote note = *content.note;
  RecordTexts batch;
  std::string name;
  std::string there;
  if (!content.add_texts(0, content.noted_records(), note.times, batch)) {
    return false;
  }
  const NotedFile file = read_noted_file(note, m_rotation.path(), name, there);
  if (file != NotedFile::kFound) {
    return file == NotedFile::kGone;
  }
  const BatchInLog found = find_batch(note, batch, there);
  const auto written = std::count(found.written.begin(), found.written.end(), true);
  if (found.begun != 0) {
    const auto rest = std::string_view(batch.bytes()).substr(found.begun);
    if (!complete_file(name, rest)) {
      return false;
    }
  } else if (written == 0) {
    return true;
  } else if (written != static_cast<std::ptrdiff_t>(found.written.size())) {
    content = content.without(found.written);
    return LogJournal::replace(journal, content.records);
  }
  journal->done(note.to);
  return true;
}

bool LogOutput::complete_file(const std::string& name, std::string_view rest) {
  LogFile backup;
  const bool is_open = name == m_rotation.path() || backup.open_regular(name.c_str());
  RecordTexts text;
  return is_open && text.add(rest) &&
         (name == m_rotation.path() ? *m_file : backup).append(text, 0, 1).written;
}

void LogOutput::report_journal(std::string_view message, std::string_view reason) {
  LocationText location({this, __PRETTY_FUNCTION__, FWBASE_PLACE});
  report(message, reason, location);
}

// --- Forks ---

void LogOutput::in_child() {
  if (m_file) {
    m_file->part_from_parent();
  }
  publish();
}

}  // namespace fwbase
