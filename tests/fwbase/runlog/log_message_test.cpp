#include "fwbase/runlog/log_message.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "tests/support/failing_new.h"

using namespace fwbase;
using fwbase::test::FailingNew;

namespace {

LogRecord sample() {
  LogRecord record;
  record.type = IRunLog::WARN;
  record.message = "message";
  record.location = "loc";
  record.pid = 0x01020304;
  record.tid = -2;
  record.time = 0x1122334455667788;
  return record;
}

template <typename Field>
std::string bytes(Field value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string content(const ACE_Message_Block& message) {
  return std::string(message.rd_ptr(), message.length());
}

}  // namespace

TEST(LogMessage, FieldsStandInOrderInNativeByteOrder) {
  const MessagePtr message = pack_record(sample());
  ASSERT_TRUE(message);
  EXPECT_EQ(message->msg_type(), 1);
  EXPECT_EQ(message->size(), 8u + 4u + 20u);
  EXPECT_EQ(content(*message), bytes(std::uint32_t{4}) + std::string("message", 8) +
                                   std::string("loc", 4) + bytes(std::int32_t{0x01020304}) +
                                   bytes(std::int32_t{-2}) +
                                   bytes(std::int64_t{0x1122334455667788}));
}

TEST(LogMessage, WithoutATimeItsRoomStaysUnused) {
  LogRecord record = sample();
  record.time.reset();
  const MessagePtr message = pack_record(record);
  ASSERT_TRUE(message);
  EXPECT_EQ(message->size(), 8u + 4u + 20u);
  EXPECT_EQ(message->space(), 8u);
}

TEST(LogMessage, ARecordComesBackAsItWas) {
  const MessagePtr message = pack_record(sample());
  ASSERT_TRUE(message);
  const auto record = unpack_record(*message, true);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->type, IRunLog::WARN);
  EXPECT_STREQ(record->message, "message");
  EXPECT_STREQ(record->location, "loc");
  EXPECT_EQ(record->pid, 0x01020304);
  EXPECT_EQ(record->tid, -2);
  EXPECT_EQ(record->time, 0x1122334455667788);
}

TEST(LogMessage, AStoredTimeIsNotReadUnlessAsked) {
  const MessagePtr message = pack_record(sample());
  ASSERT_TRUE(message);
  EXPECT_FALSE(unpack_record(*message, false)->time);
}

TEST(LogMessage, AMissingTimeReadsAsTheZeroesOfItsRoom) {
  LogRecord record = sample();
  record.time.reset();
  const MessagePtr message = pack_record(record);
  ASSERT_TRUE(message);
  EXPECT_EQ(unpack_record(*message, true)->time, 0);
}

TEST(LogMessage, BytesThatAreNoRecordAreRefused) {
  const MessagePtr whole = pack_record(sample());
  ASSERT_TRUE(whole);
  for (std::size_t size = 0; size < whole->size(); ++size) {
    ACE_Message_Block part(size);
    std::copy_n(whole->rd_ptr(), size, part.wr_ptr());
    EXPECT_FALSE(unpack_record(part, true)) << size;
  }
}

TEST(LogMessage, TheStopMessageIsAHangUpWithoutContent) {
  const MessagePtr message = shut_down_message();
  ASSERT_TRUE(message);
  EXPECT_EQ(message->msg_type(), 137);
  EXPECT_EQ(message->size(), 0u);
}

TEST(LogMessage, EveryFailedAllocationGivesNoMessageAndEnomem) {
  MessagePtr (*const makers[])() = {[] { return pack_record(sample()); }, shut_down_message};
  for (const auto make : makers) {
    int failures = 0;
    for (int n = 1;; ++n) {
      const FailingNew memory(n, FailingNew::ANY);
      errno = 0;
      const MessagePtr message = make();
      if (!memory.has_failed()) {
        EXPECT_TRUE(message);
        break;
      }
      ++failures;
      EXPECT_FALSE(message) << n;
      EXPECT_EQ(errno, ENOMEM) << n;
    }
    EXPECT_GE(failures, 2);
  }
}
