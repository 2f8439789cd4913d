#include "fwbase/runlog/log_record.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <ctime>
#include <string>

#include "tests/harness/failing_new.h"
#include "tests/harness/time_zone_variable.h"

using fwbase::IRunLog;
using fwbase::LogRecord;
using fwbase::RecordTexts;

namespace {

std::string record_text(const LogRecord& record) {
  RecordTexts texts;
  EXPECT_TRUE(texts.add(record));
  return std::string(texts.bytes());
}

LogRecord plain(IRunLog::Type type = IRunLog::ERROR) { return {type, "message", "location", {}}; }

// 1 December 2014, 10:20:30 in a zone one hour east.
constexpr std::time_t kTime = 1417425630;

class RecordWithTime : public testing::Test {
  const fwbase::test::TimeZoneVariable m_zone{"CET-1"};
};

}  // namespace

TEST(LogRecord, EveryLevelHasItsTag) {
  const struct {
    unsigned int level;
    const char* tag;
  } cases[] = {
      {1, "[TRACE]:"},  {2, "[DEBUG]:"},  {4, "[WARN ]:"},  {8, "[ERROR]:"},
      {16, "[ALERT]:"}, {32, "[DUMP ]:"}, {0, "[NULL ]:"},  {3, "[NULL ]:"},
      {64, "[NULL ]:"}, {63, "[NULL ]:"}, {12, "[NULL ]:"}, {0xFFFFFFFF, "[NULL ]:"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(record_text(plain(static_cast<IRunLog::Type>(c.level))),
              c.tag + std::string(" location\r\n >message\n"))
        << c.level;
  }
}

TEST(LogRecord, PidAndTidFollowTheTag) {
  LogRecord record = plain();
  record.pid = 4711;
  EXPECT_EQ(record_text(record), "[ERROR]: pid:4711 location\r\n >message\n");
  record.tid = 4712;
  EXPECT_EQ(record_text(record), "[ERROR]: pid:4711 tid:4712 location\r\n >message\n");
  record.pid = 0;
  EXPECT_EQ(record_text(record), "[ERROR]: tid:4712 location\r\n >message\n");
}

TEST(LogRecord, NegativeNumbersHaveAMinusSign) {
  LogRecord record = plain();
  record.pid = -1;
  record.tid = INT_MIN;
  EXPECT_EQ(record_text(record), "[ERROR]: pid:-1 tid:-2147483648 location\r\n >message\n");
}

TEST_F(RecordWithTime, TheTimeStandsBeforeTheLocationOnOneLine) {
  LogRecord record = plain();
  record.time = kTime;
  EXPECT_EQ(record_text(record), "[ERROR]: Mon Dec  1 10:20:30 2014 location\r\n >message\n");
}

TEST_F(RecordWithTime, AllDetailsTogether) {
  LogRecord record = plain(IRunLog::WARN);
  record.time = kTime;
  record.pid = record.tid = 77;
  EXPECT_EQ(record_text(record),
            "[WARN ]: pid:77 tid:77 Mon Dec  1 10:20:30 2014 location\r\n >message\n");
}

TEST_F(RecordWithTime, ATimeBeyondTheCalendarIsLeftOut) {
  LogRecord record = plain();
  record.time = LONG_MAX;
  EXPECT_EQ(record_text(record), "[ERROR]: location\r\n >message\n");
}

TEST_F(RecordWithTime, WithATimeTheLocationKeepsItsNewlines) {
  LogRecord record = plain();
  record.time = kTime;
  record.location = "a\nb";
  EXPECT_EQ(record_text(record), "[ERROR]: Mon Dec  1 10:20:30 2014 a\nb\r\n >message\n");
}

TEST(LogRecord, WithoutATimeTheFirstNewlineOfTheLocationIsDeleted) {
  LogRecord record = plain();
  record.location = "a\nb\nc";
  EXPECT_EQ(record_text(record), "[ERROR]: ab\nc\r\n >message\n");
}

TEST(LogRecord, NewlinesOfTheMessageAreKept) {
  LogRecord record = plain();
  record.message = "\na\n\nb\n";
  EXPECT_EQ(record_text(record), "[ERROR]: location\r\n >\na\n\nb\n\n");
}

TEST(LogRecord, AnEmptyLocationLeavesTheBlankBeforeIt) {
  LogRecord record = plain();
  record.location = "";
  EXPECT_EQ(record_text(record), "[ERROR]: \r\n >message\n");
}

TEST(LogRecord, TextsOfAnyLengthAndBytesPassUnchanged) {
  const std::string long_text(100000, '\xFF');
  LogRecord record = plain();
  record.message = long_text.c_str();
  record.location = long_text.c_str();
  EXPECT_EQ(record_text(record), "[ERROR]: " + long_text + "\r\n >" + long_text + "\n");
}

TEST_F(RecordWithTime, EverySecondHasItsText) {
  LogRecord record = plain();
  for (const std::time_t second : {0, 1, 0, 1, 59, 60}) {
    record.time = kTime - 30 + second;
    EXPECT_EQ(record_text(record), "[ERROR]: " + std::string(std::ctime(&*record.time), 24) +
                                       " location\r\n >message\n");
  }
}

TEST_F(RecordWithTime, TheZoneIsReadAgainWhenTheSecondChanges) {
  LogRecord record = plain();
  record.time = kTime;
  EXPECT_EQ(record_text(record), "[ERROR]: Mon Dec  1 10:20:30 2014 location\r\n >message\n");
  ::setenv("TZ", "CST-8", 1);  // without tzset()
  ++*record.time;
  EXPECT_EQ(record_text(record), "[ERROR]: Mon Dec  1 17:20:31 2014 location\r\n >message\n");
}

TEST(RecordTexts, FollowEachOther) {
  RecordTexts texts;
  EXPECT_EQ(texts.count(), 0u);
  EXPECT_TRUE(texts.add(plain()));
  EXPECT_TRUE(texts.add(plain(IRunLog::WARN)));
  EXPECT_EQ(texts.count(), 2u);
  EXPECT_EQ(texts.bytes(), "[ERROR]: location\r\n >message\n[WARN ]: location\r\n >message\n");
  EXPECT_EQ(texts.begin_of(0), 0u);
  EXPECT_EQ(texts.end_of(0), texts.begin_of(1));
  EXPECT_EQ(texts.end_of(1), texts.bytes().size());
  texts.clear();
  EXPECT_EQ(texts.count(), 0u);
  EXPECT_TRUE(texts.bytes().empty());
}

TEST(RecordTexts, WithoutMemoryARecordIsNotAppended) {
  const std::string long_text(1000, 'x');
  LogRecord record = plain();
  record.message = long_text.c_str();
  int failures = 0;
  for (int n = 1;; ++n) {
    RecordTexts texts;
    ASSERT_TRUE(texts.add(plain()));
    const fwbase::test::FailingNew memory(n, fwbase::test::FailingNew::ANY);
    errno = 0;
    const bool added = texts.add(record);
    if (!memory.has_failed()) {
      EXPECT_TRUE(added);
      break;
    }
    ++failures;
    EXPECT_FALSE(added);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(texts.count(), 1u);
    EXPECT_EQ(texts.bytes(), "[ERROR]: location\r\n >message\n");
  }
  EXPECT_EQ(failures, 2);
}
