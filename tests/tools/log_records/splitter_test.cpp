#include "log_records/splitter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace log_records::test {

namespace {

using Behind = Splitter::Behind;
using LookAhead = Splitter::LookAhead;

typedef std::vector<std::string> Texts;

constexpr char kComplete[] = "[ERROR]: here\r\n >";

void add(Splitter& splitter, std::string_view bytes) {
  std::copy(bytes.begin(), bytes.end(), splitter.room(bytes.size()).begin());
  splitter.added(bytes.size());
}

// The records of a file that is read in blocks of this size; "?" is put before ambiguous ones.
// Their offsets are where they stand.
Texts records_of(const std::string& file, std::size_t block,
                 LookAhead look_ahead = LookAhead::kNextHead) {
  Splitter splitter(look_ahead);
  RecordBytes record;
  Texts records;
  std::uint64_t offset = 0;
  const auto take = [&](Behind behind) {
    while (splitter.next(behind, record)) {
      EXPECT_EQ(record.offset, offset);
      offset += record.bytes.size();
      records.push_back((record.is_ambiguous ? "?" : "") + std::string(record.bytes));
    }
  };
  for (std::size_t at = 0; at < file.size(); at += block) {
    add(splitter, std::string_view(file).substr(at, block));
    take(Behind::kMore);
  }
  take(Behind::kEnd);
  EXPECT_EQ(offset, file.size());
  return records;
}

}  // namespace

TEST(LogSplitter, EndsARecordBeforeTheNextLineThatBeginsWithATag) {
  const std::string head = kComplete;
  const struct {
    std::string file;
    Texts records;
  } kCases[] = {
      {"", {}},
      {"\n", {"\n"}},
      {"rest\n" + head + "a\n", {"rest\n", head + "a\n"}},
      {head + "a\n" + head + "b\n", {head + "a\n", head + "b\n"}},
      {head + "a\nb\n\n" + head + "c", {head + "a\nb\n\n", head + "c"}},
      {head + "a [ERROR]: b\n[ERROR] c\n [ERROR]: d\n[error]: e\n[WARN]: f\n",
       {head + "a [ERROR]: b\n[ERROR] c\n [ERROR]: d\n[error]: e\n[WARN]: f\n"}},
      {head + "[ERROR]: x\n", {head + "[ERROR]: x\n"}},
      {head + "a\n[ERROR]", {head + "a\n[ERROR]"}},
      {head + "a\n[NULL ]:", {"?" + head + "a\n", "[NULL ]:"}},
      {"rest\n[NULL ]:x\n", {"rest\n", "[NULL ]:x\n"}},
      {head + "a\n[DUMP ]: b\n" + head + "c\n", {"?" + head + "a\n", "[DUMP ]: b\n", head + "c\n"}},
      {head + "a\n[DUMP ]:x\r\n >b\n", {"?" + head + "a\n", "[DUMP ]:x\r\n >b\n"}},
      {head + "a\n[DUMP ]: b\n[WARN ]: c\r\n >d\n",
       {"?" + head + "a\n", "[DUMP ]: b\n", "[WARN ]: c\r\n >d\n"}},
      {head + "a\n[DUMP ]: b\r\n\r\n >", {head + "a\n", "[DUMP ]: b\r\n\r\n >"}},
      {head + "a\n[DUMP ]: b\n[\n\r\n >", {head + "a\n", "[DUMP ]: b\n[\n\r\n >"}},
      {head + "a\n[DUMP ]: b\r\n\r\n\r\n", {"?" + head + "a\n", "[DUMP ]: b\r\n\r\n\r\n"}},
      {head + "a\n[DUMP ]: b\n\n[DUMP ]:", {"?" + head + "a\n", "?[DUMP ]: b\n\n", "[DUMP ]:"}},
  };
  for (const auto& one : kCases) {
    for (std::size_t block = 1; block <= one.file.size() + 1; ++block) {
      EXPECT_EQ(records_of(one.file, block), one.records) << "in blocks of " << block;
    }
  }
}

TEST(LogSplitter, WithoutLookAheadNothingIsAmbiguous) {
  const std::string head = kComplete;
  EXPECT_EQ(records_of(head + "a\n[DUMP ]: b\n", 3, LookAhead::kNone),
            (Texts{head + "a\n", "[DUMP ]: b\n"}));
}

TEST(LogSplitter, WaitsForTheNextHeadUnlessThereIsAPause) {
  Splitter splitter(LookAhead::kNextHead);
  RecordBytes record;
  add(splitter, std::string(kComplete) + "a\n[ERROR]: he");
  EXPECT_FALSE(splitter.next(Behind::kMore, record));
  ASSERT_TRUE(splitter.next(Behind::kPause, record));
  EXPECT_EQ(record.bytes, std::string(kComplete) + "a\n");
  EXPECT_TRUE(record.is_ambiguous);
  EXPECT_FALSE(splitter.next(Behind::kPause, record));
  EXPECT_EQ(splitter.rest(), "[ERROR]: he");
  add(splitter, "re\r\n >b\n");
  ASSERT_TRUE(splitter.next(Behind::kEnd, record));
  EXPECT_EQ(record.bytes, "[ERROR]: here\r\n >b\n");
  EXPECT_EQ(record.offset, std::string(kComplete).size() + 2);
}

// Each byte would be looked at as often as there are tags before it if marks were searched anew.
TEST(LogSplitter, HeadsWithoutMarksTakeLinearTime) {
  constexpr int kTags = 500'000;
  std::string bytes;
  for (int i = 0; i < kTags; ++i) {
    bytes += "[ERROR]: x\n";
  }
  Splitter splitter(LookAhead::kNextHead);
  add(splitter, bytes);
  int ambiguous = 0;
  RecordBytes record;
  while (splitter.next(Behind::kEnd, record)) {
    EXPECT_EQ(record.bytes, "[ERROR]: x\n");
    ambiguous += record.is_ambiguous ? 1 : 0;
  }
  EXPECT_EQ(ambiguous, kTags - 1);
}

TEST(LogSplitter, GoesOnBehindAnEndThatWasNone) {
  Splitter splitter(LookAhead::kNone);
  RecordBytes record;
  add(splitter, std::string(kComplete) + "a\n");
  ASSERT_TRUE(splitter.next(Behind::kEnd, record));
  splitter.release_memory();
  add(splitter, std::string("more\n") + kComplete + "b\n");
  ASSERT_TRUE(splitter.next(Behind::kMore, record));
  EXPECT_EQ(record.bytes, "more\n");
  EXPECT_EQ(record.offset, std::string(kComplete).size() + 2);
  ASSERT_TRUE(splitter.next(Behind::kEnd, record));
  EXPECT_EQ(record.bytes, std::string(kComplete) + "b\n");
}

TEST(LogSplitter, RestartedCountsFromTheBeginOfTheFile) {
  Splitter splitter(LookAhead::kNone);
  RecordBytes record;
  add(splitter, "some bytes that are forgotten");
  splitter.restart();
  EXPECT_FALSE(splitter.next(Behind::kEnd, record));
  add(splitter, std::string(kComplete) + "a\n");
  ASSERT_TRUE(splitter.next(Behind::kEnd, record));
  EXPECT_EQ(record.offset, 0U);
}

}  // namespace log_records::test
