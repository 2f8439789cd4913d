#include "log_records/record.h"

#include <gtest/gtest.h>

#include <string>

namespace log_records::test {

namespace {

constexpr char kLogged[] =
    "this(0x1f2e) virtual int ns::C::f(const char*, void*) a/b(c).cpp(123) CT:Oct  9 2014 10:20:30";

std::string record_with(const std::string& details, const std::string& location) {
  return "[ERROR]:" + details + " " + location + "\r\n >message\n";
}

}  // namespace

TEST(LogRecord, HasTheLevelOfItsTag) {
  const struct {
    const char* bytes;
    const char* name;
  } kCases[] = {{"[TRACE]: \r\n >", "trace"}, {"[DEBUG]: \r\n >", "debug"},
                {"[WARN ]: \r\n >", "warn"},  {"[ERROR]: \r\n >", "error"},
                {"[ALERT]: \r\n >", "alert"}, {"[DUMP ]: \r\n >", "dump"},
                {"[NULL ]: \r\n >", "null"}};
  for (const auto& one : kCases) {
    const Record record = parse_record(one.bytes);
    ASSERT_TRUE(record.level);
    EXPECT_EQ(name_of(*record.level), one.name);
    EXPECT_EQ(level_named(one.name), record.level);
    EXPECT_TRUE(record.has_head);
  }
  EXPECT_FALSE(level_named("ERROR"));
  EXPECT_FALSE(level_named(""));
}

TEST(LogRecord, HasTheDetailsThatWereWritten) {
  const Time time{2014, 10, 29, 10, 20, 30};
  const struct {
    const char* details;
    std::optional<std::uint64_t> pid;
    std::optional<Time> time;
  } kCases[] = {
      {"", {}, {}},
      {" pid:4711", 4711, {}},
      {" tid:4711", 4711, {}},
      {" pid:4711 tid:4712", 4711, {}},
      {" Wed Oct 29 10:20:30 2014", {}, time},
      {" pid:1 tid:1 Wed Oct 29 10:20:30 2014", 1, time},
      {" Thu Jan  1 00:00:00 1970", {}, Time{1970, 1, 1, 0, 0, 0}},
      {" Sat Feb 29 23:59:60 12000", {}, Time{12000, 2, 29, 23, 59, 60}},
  };
  for (const auto& one : kCases) {
    for (const char* const location : {"", "here", kLogged}) {
      const std::string bytes = record_with(one.details, location);
      const Record record = parse_record(bytes);
      EXPECT_EQ(record.pid, one.pid) << bytes;
      EXPECT_EQ(record.time, one.time) << bytes;
      EXPECT_EQ(record.location, location) << bytes;
      EXPECT_EQ(record.message, "message") << bytes;
    }
  }
}

TEST(LogRecord, WhatIsNoDetailBelongsToTheLocation) {
  for (const char* const location :
       {"pid:12", "pid: x", "pid:12x y", "tid:", "pid:99999999999999999999 x",
        "Wed Oct 29 10:20:30 2014", "Wed Okt 29 10:20:30 2014 x", "wed Oct 29 10:20:30 2014 x",
        "Wed Oct 32 10:20:30 2014 x", "Wed Oct 29 24:20:30 2014 x", "Wed Oct 29 10:20:30 x",
        "Sun Feb 29 10:20:30 2015 x", "Wed Oct 29 10-20:30 2014 x"}) {
    const std::string bytes = record_with("", location);
    const Record record = parse_record(bytes);
    EXPECT_EQ(record.location, location);
    EXPECT_FALSE(record.pid) << location;
    EXPECT_FALSE(record.time) << location;
  }
}

TEST(LogRecord, LocationOfTheLibraryHasParts) {
  const std::string bytes = record_with("", kLogged);
  const Record record = parse_record(bytes);
  ASSERT_TRUE(record.place);
  EXPECT_EQ(record.place->object, "1f2e");
  EXPECT_EQ(record.place->function, "virtual int ns::C::f(const char*, void*)");
  EXPECT_EQ(record.place->source, "a/b(c).cpp");
  EXPECT_EQ(record.place->line, 123U);
  EXPECT_EQ(record.place->compiled, "Oct  9 2014 10:20:30");
}

TEST(LogRecord, LocationOfTheTracerHasParts) {
  const std::string bytes = record_with("", "this(0x0) void f() a.cpp 7 CT:Oct 29 2014 10:20:30");
  const Record record = parse_record(bytes);
  ASSERT_TRUE(record.place);
  EXPECT_EQ(record.place->object, "0");
  EXPECT_EQ(record.place->function, "void f()");
  EXPECT_EQ(record.place->source, "a.cpp");
  EXPECT_EQ(record.place->line, 7U);
}

TEST(LogRecord, OtherLocationsHaveNoParts) {
  for (const char* const location :
       {"", "here", "this(0x) f a(1) CT:Oct 29 2014 10:20:30",
        "this(0xG) f a(1) CT:Oct 29 2014 10:20:30", "this(0x1)f a(1) CT:Oct 29 2014 10:20:30",
        "this(0x1) a(1) CT:Oct 29 2014 10:20:30", "this(0x1) f a() CT:Oct 29 2014 10:20:30",
        "this(0x1) f a(1 CT:Oct 29 2014 10:20:30", "this(0x1) f (1) CT:Oct 29 2014 10:20:30",
        "this(0x1) f a CT:Oct 29 2014 10:20:30", "this(0x1) f a(1)",
        "this(0x1) f a(1) CT:Oct 29 2014 10:20", "this(0x1) f a(1) CT:Okt 29 2014 10:20:30",
        "this(0x1) f a(1) CT:Oct 29 10:20:30", "this(0x1) f a(1) CT:Oct 29 2014 10:20:30 ",
        "this(0x1) f a\nb(1) CT:Oct 29 2014 10:20:30",
        "this(0x1F) f a(1) CT:Oct 29 2014 10:20:30"}) {
    const std::string bytes = record_with("", location);
    const Record record = parse_record(bytes);
    EXPECT_FALSE(record.place) << location;
    EXPECT_EQ(record.location, location);
  }
}

TEST(LogRecord, MessageLosesTheRecordsLineFeedAndOneMoreLineEnd) {
  const struct {
    const char* end;
    const char* left;
  } kCases[] = {{"", ""},         {"\n", ""},         {"\n\n", ""},       {"\r\n\n", ""},
                {"\n\n\n", "\n"}, {"\r\n", "\r"},     {"\n\r\n", "\n\r"}, {"\r\r\n\n", "\r"},
                {"\r", "\r"},     {"\n\r\n\n", "\n"}, {" \n", " "}};
  for (const auto& one : kCases) {
    const std::string bytes = std::string("[ERROR]: \r\n >text") + one.end;
    EXPECT_EQ(parse_record(bytes).message, std::string("text") + one.left);
  }
}

TEST(LogRecord, WithoutACompleteHeadHasAllBehindTheTagAsItsMessage) {
  for (const char* const rest :
       {"", " text", "x\r\n >text", "\r\n >text", " here\r\n>text", "\n x"}) {
    const std::string bytes = std::string("[WARN ]:") + rest + "\n";
    const Record record = parse_record(bytes);
    EXPECT_EQ(record.level, Level::kWarn);
    EXPECT_FALSE(record.has_head);
    EXPECT_EQ(record.message, rest);
    EXPECT_EQ(record.location, "");
  }
}

TEST(LogRecord, WhatStandsBeforeTheFirstOneIsAMessageAlone) {
  const Record record = parse_record("rest [ERROR]: x\r\n >y\n");
  EXPECT_FALSE(record.level);
  EXPECT_FALSE(record.has_head);
  EXPECT_EQ(record.message, "rest [ERROR]: x\r\n >y");
}

TEST(LogRecord, TimesOfTheCalendarExist) {
  EXPECT_TRUE(exists({2024, 2, 29, 0, 0, 0}));
  EXPECT_TRUE(exists({2000, 2, 29, 23, 59, 60}));
  EXPECT_FALSE(exists({2023, 2, 29, 0, 0, 0}));
  EXPECT_FALSE(exists({1900, 2, 29, 0, 0, 0}));
  EXPECT_FALSE(exists({2024, 4, 31, 0, 0, 0}));
  EXPECT_FALSE(exists({2024, 0, 1, 0, 0, 0}));
  EXPECT_FALSE(exists({2024, 13, 1, 0, 0, 0}));
  EXPECT_FALSE(exists({2024, 1, 0, 0, 0, 0}));
  EXPECT_FALSE(exists({2024, 1, 1, 24, 0, 0}));
  EXPECT_FALSE(exists({2024, 1, 1, 0, 60, 0}));
}

}  // namespace log_records::test
