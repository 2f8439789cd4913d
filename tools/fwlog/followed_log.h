// One log that is followed through its rotations.
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

/// Every record of FILE and of the files that it is rotated to, once each.
///
/// A file that was rotated stays open while a name leads to it: another process may still write a
/// record into it, before it notices. Such a record comes before those that the same process writes
/// into the new file: what is read of a file is held until all older files were read once more.
class FollowedLog {
 public:
  /// past_start   called once, before what is delivered was not there when following began
  FollowedLog(std::string path, const Options& options, Delivery& delivery,
              std::function<void()> past_start)
      : m_path(std::move(path)),
        m_options(options),
        m_delivery(delivery),
        m_past_start(std::move(past_start)) {}

  /// Opens what is there. False when FILE cannot be followed, which is told; one that is not there
  /// is told and waited for.
  bool open();

  /// False where a file that was there at the start could not be read, or FILE cannot be now, which
  /// is told.
  bool all_read() const { return m_all_read && m_told_reason == 0; }

  /// Reads and delivers what has come. True if there was anything.
  bool advance();

  /// Delivers what is held as it may go on. For the end of following.
  void deliver_held();

  /// When to look again although nothing changes; none when there is no need.
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
  std::function<void()> m_past_start;             // empty once it was called
  std::optional<Place> m_start_end;               // of what was there
  std::vector<std::unique_ptr<LogFile>> m_files;  // the oldest first
  std::optional<Clock::time_point> m_deadline;
  std::optional<Clock::time_point> m_held_since;  // what newer files hold waits for an older one
  bool m_all_read = true;                         // of what was there at the start
  int m_told_reason = 0;  // why FILE cannot be read; ESPIPE for what is no regular file
};

}  // namespace fwlog

#endif
