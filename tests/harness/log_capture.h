// Captures what the library logs: a run log that keeps its records, installed while it lives.
#ifndef FWBASE_TESTS_HARNESS_LOG_CAPTURE_H
#define FWBASE_TESTS_HARNESS_LOG_CAPTURE_H

#include <mutex>
#include <string>
#include <vector>

#include <fwbase/ifwbase.h>

namespace fwbase::test {

struct Record {
  IRunLog::Type level;
  std::string message;
  std::string location;

  bool operator==(const Record& other) const {
    return level == other.level && message == other.message;
  }
};

/// Prints level and message, with the message as UTF-8.
void PrintTo(const Record& record, std::ostream* out);

/// UTF-8 in another encoding, by the C library's converter.
std::string encoded(const char* encoding, const std::string& utf8);

/// UTF-8 as GBK and back, likewise.
std::string gbk(const std::string& utf8);
std::string utf8(const std::string& gbk);

/// Replaces the facade's run log and enables the levels given (all but TRACE by default).
class LogCapture : public IRunLog {
 public:
  explicit LogCapture(unsigned int levels = 0xFFFFFFFEu);
  ~LogCapture() override;

  /// What was written since construction or the last clear(). Records compare by level and message.
  std::vector<Record> records() const;
  void clear();

  ec::EC init() override { return ec::LOG_OK; }
  void type(unsigned int mask) override { ms_type_sign = mask; }
  void info(unsigned int) override {}
  ec::EC file(const char*) override { return ec::LOG_OK; }
  void asynch(bool) override {}
  void release() override {}
  void write(Type type, const char* message, const char* location) override;

 private:
  mutable std::mutex m_mutex;
  std::vector<Record> m_records;
};

/// The record that a test expects; `message` in UTF-8.
Record record(IRunLog::Type level, const std::string& message);

}  // namespace fwbase::test

#endif
