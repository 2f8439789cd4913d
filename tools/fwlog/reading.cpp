// Reads each log once, from its oldest file on.
#include "reading.h"

#include <cerrno>

#include "journal.h"
#include "log_files.h"
#include "output.h"

namespace fwlog {

namespace {

bool read_file(LogFile& file, Delivery& delivery) {
  log_records::RecordBytes record;
  using Behind = log_records::Splitter::Behind;
  LogFile::Block block = LogFile::Block::kBytes;
  while (block == LogFile::Block::kBytes) {
    block = file.read();
    const int reason = errno;
    const Behind behind = block == LogFile::Block::kBytes ? Behind::kMore : Behind::kEnd;
    while (file.records().next(behind, record)) {
      delivery.deliver(file, record);
    }
    if (block == LogFile::Block::kFailed) {
      complain_unreadable(file.name(), reason);
    }
  }
  // A file that another program truncates meanwhile has nothing more to read.
  return block != LogFile::Block::kFailed;
}

bool read_log(const std::string& path, const Options& options, Delivery& delivery) {
  LogFiles log = open_log(path, options.only, options.look_ahead());
  bool all_read = true;
  for (const Unreadable& one : log.unreadable) {
    const bool is_missing_before_its_backups = one.reason == ENOENT && !log.files.empty();
    if (!is_missing_before_its_backups) {
      complain_unreadable(one.name, one.reason);
      all_read = false;
    }
  }
  for (std::unique_ptr<LogFile>& file : log.files) {
    all_read = read_file(*file, delivery) && all_read;
    file.reset();
  }
  const bool has_journal = options.journal && path != kStandardInput;
  return (!has_journal || read_journal_of(path, delivery)) && all_read;
}

}  // namespace

bool read_logs(const Options& options, Delivery& delivery) {
  bool all_read = true;
  for (const std::string& path : options.files) {
    all_read = read_log(path, options, delivery) && all_read;
  }
  delivery.finish();
  return all_read;
}

}  // namespace fwlog
