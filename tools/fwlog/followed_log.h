// One log, followed through its rotations.
#ifndef FWLOG_FOLLOWED_LOG_H
#define FWLOG_FOLLOWED_LOG_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "delivery.h"
#include "log_file.h"
#include "options.h"

namespace fwlog {

/// Delivers every record of FILE, and of the files that it becomes by rotation, exactly once.
///
/// A rotated file stays open while it has a name: another process may write one more record into it
/// before it notices the rotation. That record precedes those that the same process writes into the
/// new file. So records of a file are held until all older files have been read once more.
class FollowedLog {
 public:
  /// past_start   called once, before the first record that was not there at the start
  FollowedLog(std::string path, const Options& options, Delivery& delivery,
              std::function<void()> past_start)
      : m_path(std::move(path)),
        m_options(options),
        m_delivery(delivery),
        m_past_start(std::move(past_start)) {}

  /// Opens the files that are there. Complains when FILE cannot be followed, and returns false. A
  /// FILE that does not exist is reported and waited for.
  bool open();

  /// False, after a complaint, when a file that was there at the start could not be read, or FILE
  /// cannot be read now.
  bool all_read() const { return m_all_read && m_told_reason == 0; }

  /// Reads and delivers what is new. Returns false when nothing is.
  bool advance();

  /// Delivers what is held, although it may be incomplete. For the end of following.
  void deliver_held();

  /// When to call advance() even if nothing changes; none when there is no need.
  std::optional<Clock::time_point> deadline() const { return m_deadline; }

 private:
  struct Place {
    FileId file;
    std::uint64_t offset;
  };

  bool open_files();
  void tell_unreadable(const std::string& name, int reason);
  void tell_once(int reason);
  void find_new_files();
  void add_new_files();
  void name_files();
  void tell_gap(std::size_t new_files) const;
  void forget_old_files();
  bool advance_file(std::size_t index, bool& any);
  bool read(std::size_t index);
  bool read_older(std::size_t index, bool& any);
  bool settle(std::size_t index);
  bool settle_newest();
  void deliver(LogFile& file, log_records::Splitter::Behind behind);
  bool is_behind_start(const LogFile& file, std::uint64_t offset) const;
  void leave_start();
  bool is_newest(std::size_t index) const { return index + 1 == m_files.size(); }

  const std::string m_path;
  const Options& m_options;
  Delivery& m_delivery;
  std::function<void()> m_past_start;             // empty after its call
  std::optional<Place> m_start_end;               // the end of what was there
  std::vector<std::unique_ptr<LogFile>> m_files;  // the oldest first
  std::optional<Clock::time_point> m_deadline;
  std::optional<Clock::time_point> m_held_since;  // since when newer files wait for an older one
  bool m_all_read = true;                         // of what was there at the start
  int m_told_reason = 0;  // why FILE cannot be read; ESPIPE: no regular file
};

}  // namespace fwlog

#endif
