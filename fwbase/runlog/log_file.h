// A log file that is open for appending.
#ifndef FWBASE_RUNLOG_LOG_FILE_H
#define FWBASE_RUNLOG_LOG_FILE_H

#include <cstdint>
#include <memory>
#include <string>

namespace fwbase {

/// Works on the descriptor itself: a record is one write, and one that fails halfway can be taken
/// back. Child processes of the host do not inherit the descriptor. Not synchronised.
class LogFile {
 public:
  enum class Content { kKeep, kDiscard };

  LogFile() = default;
  ~LogFile() { close(); }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// Opens or creates a file, in place of the one that was open.
  bool open(const char* path, Content content);
  void close();

  /// Writes at the end of the file: everything, or nothing where the file can be cut back. A FIFO
  /// that nobody reads any more is a failure like others: no signal is raised.
  bool append(const std::string& bytes);

  /// The write position in bytes; -1 for what has none, as pipes and terminals.
  std::int64_t position() const;

  /// Links files that stay open.
  std::unique_ptr<LogFile> next;

 private:
  void cut_back(std::size_t written);

  int m_descriptor = -1;
  bool m_pipe = false;
};

}  // namespace fwbase

#endif
