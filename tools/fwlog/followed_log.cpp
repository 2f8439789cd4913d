// Reads files in the order of their age. A newer file waits until the last record of each older one
// is whole.
#include "followed_log.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "interruption.h"
#include "log_files.h"
#include "output.h"

namespace fwlog {

using Behind = log_records::Splitter::Behind;
using std::chrono::milliseconds;

namespace {

// The last record of FILE is whole when it ends in a line feed and this long nothing came.
constexpr milliseconds kQuiet(200);
// The same for a rotated file, into which every other process writes at most one more record.
constexpr milliseconds kQuietBehindRotation(20);

// At most so many files are open: other programs may keep rotated files under their own names.
constexpr std::size_t kMostFiles = 16;

// Such a file cannot be read again from a place, and opening a pipe would wait for its writer.
bool is_pipe_or_device(const std::string& path) {
  struct stat status = {};
  return path == kStandardInput ||
         (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode));
}

bool ends_in_line_feed(std::string_view bytes) { return bytes.ends_with('\n'); }

}  // namespace

bool FollowedLog::open() {
  const bool is_other = is_pipe_or_device(m_path);
  if (is_other) {
    tell_unreadable(m_path, ESPIPE);
  }
  const bool can_be_followed = !is_other && open_files();
  if (m_files.empty()) {
    leave_start();
  }
  return can_be_followed;
}

bool FollowedLog::open_files() {
  LogFiles log = open_log(m_path, m_options.only, m_options.look_ahead());
  for (const Unreadable& one : log.unreadable) {
    if (one.reason == ENOENT) {
      complain({"{1} is not there; waiting for it", "{1} 不存在，等待它出现"}, {one.name});
      continue;
    }
    tell_unreadable(one.name, one.reason);
    m_all_read = false;
    if (one.name == m_path) {
      return false;
    }
  }
  m_files = std::move(log.files);
  m_told_reason = 0;
  return true;
}

void FollowedLog::tell_unreadable(const std::string& name, int reason) {
  m_told_reason = reason;
  if (reason == ESPIPE) {
    complain({"cannot follow {1}: not a regular file", "无法跟踪 {1}：不是普通文件"}, {name});
  } else {
    complain_unreadable(name, reason);
  }
}

// Not again for the same reason.
void FollowedLog::tell_once(int reason) {
  if (reason != m_told_reason) {
    tell_unreadable(m_path, reason);
  }
}

bool FollowedLog::advance() {
  m_deadline.reset();
  find_new_files();
  bool any = false;
  for (std::size_t i = 0; i < m_files.size(); ++i) {
    if (!advance_file(i, any)) {
      return any;
    }
  }
  m_held_since.reset();
  forget_old_files();
  return any;
}

// Reads a file to its end. False when newer files have to wait for it.
bool FollowedLog::advance_file(std::size_t index, bool& any) {
  LogFile& file = *m_files[index];
  bool is_more = true;
  while (is_more) {
    deliver(file, Behind::kMore);
    is_more = !was_interrupted() && read(index);
    any = any || is_more;
    if (is_more && !read_older(index, any)) {
      return false;
    }
  }
  return settle(index);
}

// Reads one block; true if there are new bytes.
bool FollowedLog::read(std::size_t index) {
  LogFile& file = *m_files[index];
  const LogFile::Block block = file.read();
  if (block == LogFile::Block::kTruncated) {
    complain({"{1} was truncated; what was not read yet is lost, and it is read from its start",
              "{1} 被截断，尚未读取的内容已丢失，从头开始读取"},
             {file.name()});
    deliver(file, Behind::kEnd);
    file.restart();
    return read(index);
  }
  if (block == LogFile::Block::kFailed && errno != m_told_reason) {
    tell_unreadable(file.name(), errno);
  }
  if (block == LogFile::Block::kEnd && is_newest(index) && !m_start_end) {
    m_start_end = Place{file.id(), file.position()};
  }
  return block == LogFile::Block::kBytes;
}

// Reads what older files have got meanwhile. False when newer files have to wait for one.
bool FollowedLog::read_older(std::size_t index, bool& any) {
  for (std::size_t i = 0; i < index; ++i) {
    while (!was_interrupted() && read(i)) {
      any = true;
      deliver(*m_files[i], Behind::kMore);
    }
    if (!settle(i)) {
      return false;
    }
  }
  return true;
}

// Delivers the last record of a file that has been read to its end, once it is likely to be whole.
// False when newer files have to wait for that.
bool FollowedLog::settle(std::size_t index) {
  LogFile& file = *m_files[index];
  if (is_newest(index)) {
    return settle_newest();
  }
  if (!file.records().rest().empty()) {
    const Clock::time_point now = Clock::now();
    const bool is_ended = ends_in_line_feed(file.records().rest());
    Clock::time_point end = file.grown() + (is_ended ? kQuietBehindRotation : kQuiet);
    m_held_since = m_held_since.value_or(now);
    end = std::min(end, *m_held_since + kQuiet);
    if (now < end) {
      m_deadline = end;
      return false;
    }
    deliver(file, Behind::kEnd);
  }
  file.records().release_memory();
  return true;
}

bool FollowedLog::settle_newest() {
  LogFile& file = *m_files.back();
  if (!file.records().rest().empty()) {
    const Clock::time_point end = file.grown() + kQuiet;
    if (Clock::now() < end) {
      m_deadline = end;
      return true;
    }
    deliver(file, ends_in_line_feed(file.records().rest()) ? Behind::kEnd : Behind::kPause);
  }
  // An incomplete record does not hold back those before it.
  if (m_start_end) {
    leave_start();
  }
  file.records().release_memory();
  return true;
}

void FollowedLog::deliver(LogFile& file, Behind behind) {
  log_records::RecordBytes record;
  while (file.records().next(behind, record)) {
    if (m_past_start && is_behind_start(file, record.offset)) {
      leave_start();
    }
    m_delivery.deliver(file, record);
  }
}

bool FollowedLog::is_behind_start(const LogFile& file, std::uint64_t offset) const {
  if (!m_start_end) {
    return false;
  }
  if (file.id() == m_start_end->file) {
    return offset >= m_start_end->offset;
  }
  const auto is_start = [&](const auto& other) { return other->id() == m_start_end->file; };
  const auto is_file = [&](const auto& other) { return other.get() == &file; };
  const auto start = std::find_if(m_files.begin(), m_files.end(), is_start);
  return std::find_if(m_files.begin(), start, is_file) == start;
}

void FollowedLog::leave_start() {
  if (m_past_start) {
    std::function<void()> past_start;
    past_start.swap(m_past_start);
    past_start();
  }
}

void FollowedLog::deliver_held() {
  for (const std::unique_ptr<LogFile>& file : m_files) {
    const bool is_ended = ends_in_line_feed(file->records().rest());
    deliver(*file, is_ended ? Behind::kEnd : Behind::kPause);
  }
  leave_start();
}

void FollowedLog::find_new_files() {
  struct stat status = {};
  if (stat(m_path.c_str(), &status) != 0) {
    return;  // between two steps of a rotation, or removed: waits for the next one
  }
  if (!m_files.empty() && m_files.back()->id() == FileId{status.st_dev, status.st_ino}) {
    return;
  }
  if (is_pipe_or_device(m_path)) {
    tell_once(ESPIPE);
  } else {
    add_new_files();
  }
}

// Adds the files that are newer than all open ones.
void FollowedLog::add_new_files() {
  const auto is_open = [this](const std::unique_ptr<LogFile>& file) {
    return std::any_of(m_files.begin(), m_files.end(),
                       [&](const auto& other) { return other->id() == file->id(); });
  };
  LogFiles log = open_log(m_path, m_options.only && m_files.empty(), m_options.look_ahead());
  auto first = std::find_if(log.files.rbegin(), log.files.rend(), is_open).base();
  const bool is_gap_possible = first == log.files.begin() && !m_files.empty();
  if (is_gap_possible && m_options.only) {
    first = log.files.end() - (log.files.empty() ? 0 : 1);
  } else if (is_gap_possible) {
    tell_gap(log.files.size());
  }
  for (; first != log.files.end(); ++first) {
    if ((*first)->is_seekable()) {
      m_files.push_back(std::move(*first));
      m_told_reason = 0;
    }
  }
  for (const Unreadable& one : log.unreadable) {
    if (one.name == m_path && one.reason != ENOENT) {
      tell_once(one.reason);
    }
  }
  name_files();
}

// Gives open files the names that they have now.
void FollowedLog::name_files() {
  for (const std::unique_ptr<LogFile>& file : m_files) {
    const std::string name = name_of(m_path, file->id());
    if (!name.empty()) {
      file->name(name);
    }
  }
}

void FollowedLog::tell_gap(std::size_t new_files) const {
  constexpr std::size_t kAllFiles = 5;
  if (new_files >= kAllFiles && m_files.back()->is_removed()) {
    complain({"{1} was rotated faster than it was read; records may be missing",
              "{1} 轮换得比读取快，可能缺少记录"},
             {m_path});
  }
}

// Closes files that have no name and no bytes left.
void FollowedLog::forget_old_files() {
  for (std::size_t i = 0; i + 1 < m_files.size();) {
    const bool is_done = m_files[i]->records().rest().empty();
    if (is_done && (m_files[i]->is_removed() || m_files.size() > kMostFiles)) {
      m_files.erase(m_files.begin() + static_cast<std::ptrdiff_t>(i));
    } else {
      ++i;
    }
  }
}

}  // namespace fwlog
