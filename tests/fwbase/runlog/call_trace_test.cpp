#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fwbase/runlog/runlog.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/log_capture.h"

using fwbase::IRunLog;
using namespace fwbase::test;

namespace {

constexpr unsigned int kAll = 0xFFFFFFFF;
constexpr char kLocation[] = "this(0x90abcdef) void f() src/f.cpp 12 CT:Oct 29 2014 10:20:30";

struct Tracer {
  explicit Tracer(const char* text)
      : trace(text, 12, "src/f.cpp", "Oct 29 2014", "10:20:30", "void f()",
              reinterpret_cast<void*>(0x1234567890abcdefULL)) {}
  IRunLog::CTrace trace;
};

// A run log that does not allocate.
struct CountingLog : LogCapture {
  CountingLog() : LogCapture(kAll) {}
  void write(Type, const char*, const char*) override { ++count; }
  int count = 0;
};

void expect_record(const Record& record, const char* message, const char* location) {
  EXPECT_EQ(record.level, IRunLog::TRACE);
  EXPECT_EQ(record.message, message);
  EXPECT_EQ(record.location, location);
}

}  // namespace

TEST(CallTrace, WritesACallAndARetRecordWithTheSameLocation) {
  LogCapture log(kAll);
  {
    const Tracer tracer("text");
    ASSERT_EQ(log.records().size(), 1u);
  }
  ASSERT_EQ(log.records().size(), 2u);
  expect_record(log.records()[0], "Call: text", kLocation);
  expect_record(log.records()[1], "Ret: text", kLocation);
}

TEST(CallTrace, AnEmptyTextLeavesThePrefixes) {
  LogCapture log(kAll);
  { const Tracer tracer(""); }
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::TRACE, "Call: "), record(IRunLog::TRACE, "Ret: ")}));
}

TEST(CallTrace, IsSilentWhileTracingIsOff) {
  LogCapture log;
  { const Tracer tracer("text"); }
  EXPECT_TRUE(log.records().empty());
}

TEST(CallTrace, SwitchedOnInsideTheScopeOnlyTheRetRecordAppearsWithoutTextAndLocation) {
  LogCapture log;
  {
    const Tracer tracer("text");
    log.type(kAll);
  }
  ASSERT_EQ(log.records().size(), 1u);
  expect_record(log.records()[0], "Ret: ", "");
}

TEST(CallTrace, SwitchedOffInsideTheScopeOnlyTheCallRecordAppears) {
  LogCapture log(kAll);
  {
    const Tracer tracer("text");
    log.type(0);
  }
  ASSERT_EQ(log.records().size(), 1u);
  expect_record(log.records()[0], "Call: text", kLocation);
}

TEST(CallTrace, ANullTextTracesTheRetOnly) {
  LogCapture log(kAll);
  { const Tracer tracer(nullptr); }
  ASSERT_EQ(log.records().size(), 1u);
  expect_record(log.records()[0], "Ret: ", "");
}

TEST(CallTrace, IsSilentWhileTheFacadeHasNoLog) {
  IRunLog::ms_type_sign = kAll;
  { const Tracer tracer("text"); }
  EXPECT_EQ(fwbase::IFWBase::instance()->runlog(), nullptr);
}

TEST(CallTrace, WithoutMemoryTheRecordIsDroppedAndNothingIsThrown) {
  CountingLog log;
  const std::string long_text(100, 'x');  // longer than what a string holds in itself
  for (int n = 1;; ++n) {
    log.count = 0;
    bool failed = false;
    {
      const FailingNew memory(n, FailingNew::ANY);
      { const Tracer tracer(long_text.c_str()); }
      failed = memory.has_failed();
    }
    if (!failed) {
      EXPECT_EQ(log.count, 2);
      EXPECT_GT(n, 5);  // at least: location, two members, two messages
      break;
    }
    EXPECT_EQ(log.count, 1) << n;
  }
}
