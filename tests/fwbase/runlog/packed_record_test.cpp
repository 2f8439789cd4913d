#include "fwbase/runlog/packed_record.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "tests/harness/failing_new.h"

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

std::vector<char> packed(const LogRecord& record) {
  std::vector<char> bytes;
  pack_record(record, bytes);
  return bytes;
}

}  // namespace

TEST(PackedRecord, FieldsStandInOrderInNativeByteOrder) {
  const std::vector<char> stored = packed(sample());
  EXPECT_EQ(stored.size(), 8u + 4u + 20u);
  EXPECT_EQ(std::string(stored.data(), stored.size()),
            bytes(std::uint32_t{4}) + std::string("message", 8) + std::string("loc", 4) +
                bytes(std::int32_t{0x01020304}) + bytes(std::int32_t{-2}) +
                bytes(std::int64_t{0x1122334455667788}));
}

TEST(PackedRecord, WithoutATimeItsRoomIsThereAndZero) {
  LogRecord record = sample();
  record.time.reset();
  const std::vector<char> stored = packed(record);
  ASSERT_EQ(stored.size(), 8u + 4u + 20u);
  EXPECT_EQ(std::string(stored.end() - 8, stored.end()), std::string(8, '\0'));
}

TEST(PackedRecord, RecordsComeBackInOrderAndAsTheyWere) {
  std::vector<char> bytes = packed(sample());
  LogRecord second = sample();
  second.message = "";
  second.location = "";
  pack_record(second, bytes);
  PackedRecords records(bytes);
  const auto record = records.next(true);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->type, IRunLog::WARN);
  EXPECT_STREQ(record->message, "message");
  EXPECT_STREQ(record->location, "loc");
  EXPECT_EQ(record->pid, 0x01020304);
  EXPECT_EQ(record->tid, -2);
  EXPECT_EQ(record->time, 0x1122334455667788);
  const auto next = records.next(true);
  ASSERT_TRUE(next);
  EXPECT_STREQ(next->message, "");
  EXPECT_STREQ(next->location, "");
  EXPECT_FALSE(records.next(true));
}

TEST(PackedRecord, AStoredTimeIsNotReadUnlessAsked) {
  const std::vector<char> stored = packed(sample());
  EXPECT_FALSE(PackedRecords(stored).next(false)->time);
}

TEST(PackedRecord, AMissingTimeReadsAsTheZeroesOfItsRoom) {
  LogRecord record = sample();
  record.time.reset();
  const std::vector<char> stored = packed(record);
  EXPECT_EQ(PackedRecords(stored).next(true)->time, 0);
}

TEST(PackedRecord, WithoutMemoryNothingIsAppended) {
  std::vector<char> bytes = packed(sample());
  bytes.shrink_to_fit();
  const std::vector<char> before = bytes;
  bool failed = false;
  {
    const FailingNew memory(1, FailingNew::ANY);
    try {
      pack_record(sample(), bytes);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
  }
  EXPECT_TRUE(failed);
  EXPECT_EQ(bytes, before);
}
