// The run log, from write() to the bytes in its files, through rotation and restarts.
//
// Input: a program, a byte for each operation and its arguments behind it. The log file is made
// long by a hole, so that few and short records reach the size at which it is rotated.
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/harness/check.h"
#include "fuzz/harness/input.h"
#include "fwbase/runlog/log_process.h"
#include "tests/harness/temp_dir.h"

namespace {

using fwbase::CLogProcess;
using fwbase::IRunLog;
using fwbase::fuzz::Input;
using fwbase::test::TempDir;

constexpr std::int64_t kRotationSize = 10'485'760;

// --- The model ---

std::string tag(unsigned int type) {
  switch (type) {
    case 1:
      return "[TRACE]:";
    case 2:
      return "[DEBUG]:";
    case 4:
      return "[WARN ]:";
    case 8:
      return "[ERROR]:";
    case 16:
      return "[ALERT]:";
    case 32:
      return "[DUMP ]:";
    default:
      return "[NULL ]:";
  }
}

struct ExpectedRecord {
  unsigned int type = 0;
  unsigned int info = 0;
  std::string message;
  std::string location;
  std::time_t earliest = 0;  // when the record may have been written
  std::time_t latest = 0;

  std::string text(std::time_t time) const {
    std::string head = tag(type);
    if ((info & 0x4) != 0) head += " pid:" + std::to_string(::getpid());
    if ((info & 0x8) != 0) head += " tid:" + std::to_string(::getpid());
    if ((info & 0x2) != 0) head += std::string(" ") + std::ctime(&time);
    head += " " + location;
    const std::size_t newline = head.find('\n');
    if (newline != std::string::npos) head.erase(newline, 1);
    return head + "\r\n >" + message + "\n";
  }
};

// A file: a hole, and records behind it.
struct ExpectedFile {
  bool exists = false;
  std::int64_t hole = 0;
  std::int64_t size = 0;
  std::vector<ExpectedRecord> records;
};

// The bytes of a file behind its hole; false when there is no file.
bool read_behind(const std::string& path, const ExpectedFile& expected, std::string& bytes) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                       &std::fclose);
  if (!file) return false;
  std::fseek(file.get(), 0, SEEK_END);
  FUZZ_CHECK(std::ftell(file.get()) == expected.size);
  bytes.resize(static_cast<std::size_t>(expected.size - expected.hole));
  std::fseek(file.get(), expected.hole, SEEK_SET);
  FUZZ_CHECK(std::fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size());
  return true;
}

void check_file(const std::string& path, const ExpectedFile& expected) {
  std::string bytes;
  FUZZ_CHECK(read_behind(path, expected, bytes) == expected.exists);
  std::size_t at = 0;
  for (const ExpectedRecord& record : expected.records) {
    std::string text = record.text(record.earliest);
    for (std::time_t time = record.earliest;
         time < record.latest && bytes.compare(at, text.size(), text) != 0;) {
      text = record.text(++time);
    }
    FUZZ_CHECK(bytes.compare(at, text.size(), text) == 0);
    at += text.size();
  }
  FUZZ_CHECK(at == bytes.size());
}

// --- The log beside its model ---

class LogRun {
 public:
  LogRun() { start(); }

  ~LogRun() {
    stop();
    check_files();
  }
  LogRun(const LogRun&) = delete;
  LogRun& operator=(const LogRun&) = delete;

  void step(Input& input) {
    switch (input.below(8)) {
      case 0:
        set_info(input.byte());
        break;
      case 1:
        approach_rotation(input.byte());
        break;
      case 2:
        restart(input.flag());
        break;
      case 3:
        write(input, IRunLog::FormatStr("%s", input.bytes(input.word() % 2048).c_str()));
        break;
      case 4:
        FUZZ_CHECK(m_log.file(path().c_str()) == ec::LOG_OK);
        m_files[0].exists = true;
        break;
      case 5:
        m_log.write(IRunLog::ERROR, nullptr, "no message, no record");
        break;
      default:
        write(input, nullptr);
    }
  }

 private:
  std::string path() const { return m_directory.path("host.log"); }

  void start() {
    FUZZ_CHECK(m_log.init() == ec::LOG_OK);
    FUZZ_CHECK(m_log.file(path().c_str()) == ec::LOG_OK);
    m_files[0].exists = true;
    m_info = 0;
    m_asynch = false;
  }

  // What is queued is written, and the closing record behind it.
  void stop() {
    ExpectedRecord closing;
    closing.type = IRunLog::DEBUG;
    closing.info = m_info;
    closing.message = "\nlog system release\n";
    closing.earliest = std::time(nullptr);
    m_log.release();
    closing.latest = std::time(nullptr);
    expect(closing);
    FUZZ_CHECK(IRunLog::ms_type_sign == 0);
    m_log.write(IRunLog::ERROR, "after the closing record", "");
  }

  // Each takes a new writer thread: the longer inputs would take very long.
  void restart(bool asynch) {
    if (++m_restarts > kMaxRestarts) return;
    stop();
    start();
    m_log.asynch(asynch);
    m_asynch = asynch;
  }

  // Not while records are queued: they would be read with other details than they have.
  void set_info(unsigned int flags) {
    if (m_asynch) return;
    m_log.info(flags);
    m_info = flags;
  }

  // Leaves so many bytes to the size at which the file is rotated, unless records are queued. What
  // was written is checked now.
  void approach_rotation(unsigned int distance) {
    if (m_asynch) return;
    ExpectedFile& file = m_files[0];
    check_file(path(), file);
    file.hole = file.size = kRotationSize - distance - 1;
    file.records.clear();
    FUZZ_CHECK(::truncate(path().c_str(), file.size) == 0);
    // The log counts what it writes itself, and learns of other changes after 50 microseconds.
    const auto noticed = std::chrono::steady_clock::now() + std::chrono::microseconds(60);
    while (std::chrono::steady_clock::now() < noticed) {
    }
  }

  void write(Input& input, const char* formatted) {
    const std::unique_ptr<const char[]> owner(formatted);
    ExpectedRecord record;
    record.type = input.below(70);
    record.info = m_info;
    // Up to the first zero, as the log reads them.
    record.location = input.text().c_str();
    record.message = formatted != nullptr ? std::string(formatted) : input.text().c_str();
    FUZZ_CHECK(formatted == nullptr || record.message.size() <= 1022);
    const bool null_location = record.location.empty() && input.flag();
    record.earliest = std::time(nullptr);
    m_log.write(static_cast<IRunLog::Type>(record.type), record.message.c_str(),
                null_location ? nullptr : record.location.c_str());
    record.latest = std::time(nullptr);
    expect(record);
  }

  void expect(const ExpectedRecord& record) {
    ExpectedFile& file = m_files[0];
    file.records.push_back(record);
    file.size += static_cast<std::int64_t>(record.text(record.earliest).size());
    if (file.size < kRotationSize) return;
    for (std::size_t i = kFiles - 1; i > 0; --i) {
      if (m_files[i - 1].exists) m_files[i] = m_files[i - 1];
    }
    file = ExpectedFile{true, 0, 0, {}};
  }

  void check_files() {
    check_file(path(), m_files[0]);
    for (std::size_t i = 1; i < kFiles; ++i) {
      check_file(path() + ".bak." + std::to_string(i - 1), m_files[i]);
    }
  }

  static constexpr std::size_t kFiles = 5;
  static constexpr int kMaxRestarts = 8;

  const TempDir m_directory;
  CLogProcess m_log;
  ExpectedFile m_files[kFiles];  // the log, and its backups from the newest on
  unsigned int m_info = 0;
  bool m_asynch = false;
  int m_restarts = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  LogRun run;
  while (!input.at_end()) run.step(input);
  return 0;
}
