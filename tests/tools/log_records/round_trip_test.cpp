// What goes in through IRunLog::write() comes back: 100,000 random records, with any bytes, line
// ends, details, forms of locations, cut texts, and messages that look like records.
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>

#include "log_records/encoding.h"
#include "log_records/record.h"
#include "log_records/splitter.h"
#include "tests/harness/json_line.h"
#include "tests/harness/run_program.h"
#include "tests/harness/temp_dir.h"

namespace log_records::test {

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;

constexpr int kRecords = 100'000;
constexpr const char* kLevels[] = {"null", "trace", "debug", "null", "warn",
                                   "null", "null",  "null",  "error"};

// What a record has to come back as.
struct Expected {
  std::string level;
  bool has_head = true;
  bool has_pid = false;
  std::time_t earliest = 0;  // 0 without a time
  std::time_t latest = 0;
  std::string object, function, source, compiled, location;
  unsigned int line = 0;
  std::string message;
  bool is_ambiguous = false;
};

class Generator {
 public:
  Generator() {
    for (int i = 0; i < 1'000'000; ++i) {
      m_bytes += static_cast<char>(below(8) == 0 ? 1 + below(255) : ' ' + below(95));
    }
  }

  unsigned int below(unsigned int limit) {
    return std::uniform_int_distribution<unsigned int>(0, limit - 1)(m_random);
  }

  // Bytes without zeros and those of `without`: some of a large number that were drawn before.
  std::string bytes(unsigned int most, const std::string& without = "") {
    const unsigned int size = below(most + 1);
    std::string text =
        m_bytes.substr(below(static_cast<unsigned int>(m_bytes.size()) - size), size);
    for (const char unwanted : without) {
      std::replace(text.begin(), text.end(), unwanted, 'x');
    }
    return text;
  }

 private:
  std::mt19937 m_random{4711};
  std::string m_bytes;
};

bool has_tag_in_a_line(const std::string& text) {
  for (std::size_t at = 0; (at = text.find('\n', at)) != text.npos; ++at) {
    if (tag_at(std::string_view(text).substr(at + 1))) {
      return true;
    }
  }
  return false;
}

// A location, and what of it is expected.
std::string location_of(Generator& random, Expected& expected) {
  const std::string kNoFile = "\r\n ";
  switch (random.below(4)) {
    case 0:
      return "";
    case 1:
      expected.location = "at " + random.bytes(60, "\r\n");
      return expected.location;
    default:
      break;
  }
  const bool is_traced = random.below(2) == 0;
  expected.object = random.below(2) == 0 ? "0" : "7f12ab";
  // Some are so long that the location is cut.
  expected.function = "void f" + random.bytes(random.below(20) == 0 ? 1500 : 60, "\r\n") + "()";
  expected.source = "src/" + random.bytes(20, kNoFile) + ".cpp";
  expected.line = random.below(10000);
  expected.compiled = "Oct  9 2014 10:20:30";
  const std::string line = std::to_string(expected.line);
  const std::string whole = "this(0x" + expected.object + ") " + expected.function + " " +
                            expected.source + (is_traced ? " " + line : "(" + line + ")") +
                            " CT:" + expected.compiled;
  const std::unique_ptr<char[]> formatted(IRunLog::FormatStr("%s", whole.c_str()));
  const std::string location = formatted.get();
  if (location != whole) {  // cut
    expected.object.clear();
    expected.location = location;
  }
  return location;
}

std::string message_of(Generator& random) {
  if (random.below(50) == 0) {  // cut, where it is longer
    const std::unique_ptr<char[]> cut(IRunLog::FormatStr("%s", random.bytes(3000).c_str()));
    return cut.get();
  }
  constexpr const char* kEnds[] = {"", "", "\n", "\r\n", "\n\n", "\r"};
  return random.bytes(random.below(100) == 0 ? 5000 : 200) + kEnds[random.below(6)];
}

std::string without_line_end(std::string message) {
  if (message.ends_with("\r\n")) {
    message.resize(message.size() - 2);
  } else if (message.ends_with('\n')) {
    message.pop_back();
  }
  return message;
}

// Writes the records, and gives what is expected of them, in their order.
std::vector<Expected> write_records(const std::string& path) {
  Generator random;
  std::vector<Expected> all;
  IRunLog* const log = IFWBase::instance()->runlog();
  EXPECT_TRUE(ec::succeeded(log->file(path.c_str())));
  for (int i = 0; i < kRecords; ++i) {
    Expected expected;
    const unsigned int level = random.below(9);
    expected.level = kLevels[level];
    const unsigned int info = random.below(8) << 1;
    log->info(info);
    expected.has_pid = (info & (IRunLog::INFO_PID | IRunLog::INFO_TID)) != 0;
    const std::string location = location_of(random, expected);
    std::string message = message_of(random);
    if (has_tag_in_a_line(message) || has_tag_in_a_line(location)) {
      continue;  // those that follow are made so on purpose
    }
    std::string inner;
    if (random.below(100) == 0) {
      inner = "[ALERT]: no mark behind it";
      expected.is_ambiguous = true;
    }
    expected.message = without_line_end(message);
    if (!inner.empty()) {
      expected.message = message;
      message += "\n" + inner;
      expected.message = without_line_end(expected.message);
    }
    const bool has_time = (info & IRunLog::INFO_TIME) != 0;
    expected.earliest = has_time ? std::time(nullptr) : 0;
    log->write(static_cast<IRunLog::Type>(level), message.c_str(), location.c_str());
    expected.latest = has_time ? std::time(nullptr) : 0;
    all.push_back(expected);
    if (!inner.empty()) {
      Expected part;
      part.level = "alert";
      part.has_head = false;
      part.message = inner.substr(kTagSize);
      all.push_back(part);
    }
  }
  return all;
}

Time local(std::time_t time) {
  std::tm parts{};
  localtime_r(&time, &parts);
  return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
          parts.tm_hour,        parts.tm_min,     parts.tm_sec};
}

void compare(const Expected& expected, std::string_view bytes, bool is_ambiguous) {
  const Record record = parse_record(bytes);
  ASSERT_TRUE(record.level) << bytes;
  ASSERT_EQ(name_of(*record.level), expected.level) << bytes;
  ASSERT_EQ(record.has_head, expected.has_head) << bytes;
  ASSERT_EQ(record.message, expected.message);
  ASSERT_EQ(is_ambiguous, expected.is_ambiguous) << bytes;
  ASSERT_EQ(record.pid.has_value(), expected.has_pid) << bytes;
  ASSERT_EQ(record.pid.value_or(::getpid()), static_cast<std::uint64_t>(::getpid()));
  ASSERT_EQ(record.time.has_value(), expected.earliest != 0) << bytes;
  if (record.time) {
    ASSERT_LE(local(expected.earliest), *record.time);
    ASSERT_LE(*record.time, local(expected.latest));
  }
  ASSERT_EQ(record.place.has_value(), !expected.object.empty()) << bytes;
  if (!record.place) {
    ASSERT_EQ(record.location, expected.location);
    return;
  }
  ASSERT_EQ(record.place->object, expected.object);
  ASSERT_EQ(record.place->function, expected.function);
  ASSERT_EQ(record.place->source, expected.source);
  ASSERT_EQ(record.place->line, expected.line);
  ASSERT_EQ(record.place->compiled, expected.compiled);
}

std::string value_in(const fwbase::test::JsonLine& line, const std::string& name) {
  for (const auto& [known, value] : line) {
    if (known == name) {
      return value;
    }
  }
  return "";
}

std::string decoded(const std::string& text, const std::string& whole) {
  std::string utf8;
  append_decoded(text, reading_of(whole, Encoding::kAuto), utf8);
  return utf8;
}

std::string run_fwlog(const std::string& form, const std::string& path) {
  return fwbase::test::run_program({FWLOG_PROGRAM, "--output", form, path}).out;
}

}  // namespace

TEST(LogRoundTrip, RecordsComeBackAsTheyWereWritten) {
  const fwbase::test::TempDir directory;
  const std::string path = directory.path("host.log");
  ASSERT_TRUE(ec::succeeded(IFWBase::instance()->init()));
  const std::vector<Expected> all = write_records(path);

  std::string bytes;
  for (const char* const end : {".bak.3", ".bak.2", ".bak.1", ".bak.0", ""}) {
    bytes += fwbase::test::read_file(path + end);
  }
  ASSERT_EQ(run_fwlog("raw", path), bytes);

  Splitter splitter(Splitter::LookAhead::kNextHead);
  std::copy(bytes.begin(), bytes.end(), splitter.room(bytes.size()).begin());
  splitter.added(bytes.size());
  const std::string json = run_fwlog("json", path);
  std::size_t at = 0;
  RecordBytes record;
  for (const Expected& expected : all) {
    ASSERT_TRUE(splitter.next(Splitter::Behind::kEnd, record));
    compare(expected, record.bytes, record.is_ambiguous);
    if (HasFatalFailure()) {
      return;
    }
    const std::size_t end = json.find('\n', at);
    const auto line = fwbase::test::parse_json_line(json.substr(at, end - at));
    ASSERT_TRUE(line) << json.substr(at, end - at);
    at = end + 1;
    EXPECT_EQ(value_in(*line, "level"), expected.level);
    EXPECT_EQ(value_in(*line, "length"), std::to_string(record.bytes.size()));
    EXPECT_EQ(value_in(*line, "message"), decoded(expected.message, expected.message));
    EXPECT_EQ(value_in(*line, "ambiguous"), expected.is_ambiguous ? "true" : "");
    EXPECT_EQ(value_in(*line, "location"), decoded(expected.location, expected.location));
    EXPECT_EQ(value_in(*line, "object"), expected.object);
  }
  EXPECT_EQ(at, json.size());
  EXPECT_FALSE(splitter.next(Splitter::Behind::kEnd, record));
}

}  // namespace log_records::test
