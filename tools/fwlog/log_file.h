// One open file of a log.
#ifndef FWLOG_LOG_FILE_H
#define FWLOG_LOG_FILE_H

#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "log_records/splitter.h"

namespace fwlog {

/// Which file it is, under any name.
struct FileId {
  dev_t device = 0;
  ino_t inode = 0;
  auto operator<=>(const FileId&) const = default;
};

/// The name of standard input. It has no backups.
constexpr std::string_view kStandardInput = "-";

typedef std::chrono::steady_clock Clock;

/// A file that is read block by block. It stays the same file when it is renamed.
class LogFile {
 public:
  enum class Block { kBytes, kEnd, kTruncated, kFailed };

  LogFile(int descriptor, std::string name, FileId id, bool is_seekable, Clock::time_point grown,
          log_records::Splitter::LookAhead look_ahead);
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// Opens the file called `name`. Null with the reason in errno.
  static std::unique_ptr<LogFile> open(const std::string& name,
                                       log_records::Splitter::LookAhead look_ahead);

  FileId id() const { return m_id; }
  const std::string& name() const { return m_name; }
  void name(std::string name) { m_name = std::move(name); }
  /// False for a pipe or a device: it cannot be read again, and has no backups.
  bool is_seekable() const { return m_is_seekable; }

  /// Reads the next block into records(). kTruncated: the file no longer has the bytes that were
  /// read; call restart(). kFailed leaves the reason in errno.
  Block read();
  log_records::Splitter& records() { return m_records; }

  std::uint64_t position() const { return m_position; }
  /// When the file grew last.
  Clock::time_point grown() const { return m_grown; }
  /// True when it has no name any more.
  bool is_removed() const;
  /// The next block is the first one again.
  void restart();

 private:
  static constexpr std::size_t kKnown = 64;

  void keep_known(const char* block, std::size_t size);

  const int m_descriptor;
  std::string m_name;
  const FileId m_id;
  const bool m_is_seekable;
  Clock::time_point m_grown;
  log_records::Splitter m_records;
  std::uint64_t m_position = 0;      // of the next byte to read
  std::array<char, kKnown> m_known;  // the last bytes before that
  std::size_t m_known_size = 0;
};

}  // namespace fwlog

#endif
