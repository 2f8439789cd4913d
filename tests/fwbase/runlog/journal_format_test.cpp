#include "fwbase/runlog/journal_format.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "fwbase/runlog/packed_record.h"
#include "tests/harness/temp_dir.h"

using namespace fwbase;
using namespace fwbase::test;

namespace {

constexpr std::uint64_t kCapacity = 4096;

class JournalFormat : public testing::Test {
 protected:
  JournalFormat() {
    header.magic = kJournalMagic;
    header.capacity = kCapacity;
  }

  void add(const std::string& message, std::time_t time = 0) {
    std::vector<char> packed;
    LogRecord record{IRunLog::ERROR, message.c_str(), "here", {}};
    record.time = time;
    pack_record(record, packed);
    for (const char byte : packed) {
      ring[header.end++ % kCapacity] = byte;
    }
    ends.push_back(header.end);
  }
  void start_at(std::uint64_t number) { header.begin = header.end = number; }
  void note_to(std::uint64_t number) {
    header.noted = 1;
    header.note = {};
    header.note.length = 1;
    header.note.to = number;
  }

  JournalState read() {
    std::string bytes(kJournalHeaderSize, '\0');
    std::memcpy(bytes.data(), &header, sizeof header);
    bytes += ring;
    return read_bytes(bytes);
  }
  JournalState read_bytes(const std::string& bytes) {
    write_file(path, bytes);
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const JournalState state = read_journal(file, content);
    ::close(file);
    return state;
  }
  std::string texts(JournalTimes times) {
    RecordTexts all;
    EXPECT_TRUE(content.add_texts(0, content.ends.size(), times, all));
    return std::string(all.bytes());
  }

  TempDir dir;
  const std::string path = dir.path("log.journal");
  JournalHeader header{};
  std::string ring = std::string(kCapacity, '\0');
  std::vector<std::uint64_t> ends;
  JournalContent content;
};

}  // namespace

TEST_F(JournalFormat, RecordsComeBackInTheirOrder) {
  add("a");
  add("b");
  ASSERT_EQ(read(), JournalState::kWhole);
  EXPECT_EQ(content.begin, 0u);
  EXPECT_EQ(content.ends, ends);
  EXPECT_EQ(texts(JournalTimes::kNone), "[ERROR]: here\r\n >a\n[ERROR]: here\r\n >b\n");
  EXPECT_FALSE(content.note);
}

TEST_F(JournalFormat, WhatIsWrittenCanBeTakenAway) {
  start_at(1000);
  for (const char* const message : {"a", "bb", "ccc", "dddd"}) {
    add(message);
  }
  note_to(ends[2]);
  ASSERT_EQ(read(), JournalState::kWhole);
  content = content.without({true, false, true});
  EXPECT_EQ(content.begin, 0u);
  EXPECT_FALSE(content.note);
  EXPECT_EQ(content.ends.back(), content.records.size());
  EXPECT_EQ(texts(JournalTimes::kNone), "[ERROR]: here\r\n >bb\n[ERROR]: here\r\n >dddd\n");
}

TEST_F(JournalFormat, ARecordThatGoesOnAtTheBeginOfTheRingIsOne) {
  for (std::uint64_t back = 0; back < 30; ++back) {
    ends.clear();
    start_at(10 * kCapacity - back);
    add("message");
    ASSERT_EQ(read(), JournalState::kWhole);
    EXPECT_EQ(content.ends, ends);
    EXPECT_EQ(texts(JournalTimes::kNone), "[ERROR]: here\r\n >message\n");
  }
}

TEST_F(JournalFormat, TimesAreThoseThatAreAskedFor) {
  ::setenv("TZ", "UTC0", 1);
  add("with", 86400);
  add("without");
  ASSERT_EQ(read(), JournalState::kWhole);
  EXPECT_EQ(texts(JournalTimes::kAll),
            "[ERROR]: Fri Jan  2 00:00:00 1970 here\r\n >with\n"
            "[ERROR]: Thu Jan  1 00:00:00 1970 here\r\n >without\n");
  EXPECT_EQ(texts(JournalTimes::kStored),
            "[ERROR]: Fri Jan  2 00:00:00 1970 here\r\n >with\n[ERROR]: here\r\n >without\n");
}

TEST_F(JournalFormat, AFullRingIsWhole) {
  for (int i = 0; i < 4; ++i) {
    add(std::string(1024 - 22 - 4, 'x'));
  }
  ASSERT_EQ(header.end, kCapacity);
  EXPECT_EQ(read(), JournalState::kWhole);
  EXPECT_EQ(content.ends, ends);
}

TEST_F(JournalFormat, ANoteCountsUntilItsBatchIsDone) {
  add("a");
  add("b");
  note_to(ends[0]);
  ASSERT_EQ(read(), JournalState::kWhole);
  ASSERT_TRUE(content.note);
  EXPECT_EQ(content.noted_records(), 1u);
  header.begin = ends[0];
  ASSERT_EQ(read(), JournalState::kWhole);
  EXPECT_FALSE(content.note);
  EXPECT_EQ(content.noted_records(), 0u);
}

TEST_F(JournalFormat, WhatHasNoHeaderYetIsUnfinished) {
  EXPECT_EQ(read_bytes(""), JournalState::kUnfinished);
  header.magic = 0;
  EXPECT_EQ(read(), JournalState::kUnfinished);
}

TEST_F(JournalFormat, EveryKindOfDamageIsFound) {
  add("a");
  add("b");
  note_to(ends[0]);
  const JournalHeader sound = header;
  const std::string records = ring;
  ASSERT_EQ(read(), JournalState::kWhole);
  const std::vector<std::function<void()>> damages = {
      [&] { header.magic = kJournalMagic + 1; },
      [&] { header.magic = __builtin_bswap64(kJournalMagic); },
      [&] { header.capacity = 0; },
      [&] { header.capacity = kCapacity + 1; },
      [&] { header.capacity = UINT64_MAX; },
      [&] { header.begin = header.end + 1; },
      [&] { header.end = header.begin + kCapacity + 1; },
      [&] { header.end = UINT64_MAX; },
      [&] { --header.end; },
      [&] { ++header.end; },
      [&] { header.noted = 2; },
      [&] { header.note.to = header.end + 1; },
      [&] { --header.note.to; },
      [&] { header.note.length = 0; },
      [&] { header.note.length = UINT64_MAX; },
      [&] { header.note.offset = INT64_MAX; },
      [&] { header.note.times = static_cast<JournalTimes>(3); },
      [&] { ring.assign(kCapacity, 'x'); },  // texts without an end
  };
  for (std::size_t i = 0; i < damages.size(); ++i) {
    damages[i]();
    EXPECT_EQ(read(), JournalState::kDamaged) << i;
    header = sound;
    ring = records;
  }
}

TEST_F(JournalFormat, AFileThatWasCutIsDamaged) {
  add("a");
  ring.pop_back();
  EXPECT_EQ(read(), JournalState::kDamaged);
  EXPECT_EQ(read_bytes(std::string(kJournalHeaderSize - 1, 'x')), JournalState::kDamaged);
}

TEST_F(JournalFormat, WhatCannotBeReadIsToldFromDamage) {
  const int directory = ::open(dir.path().c_str(), O_RDONLY | O_DIRECTORY);
  EXPECT_NE(read_journal(directory, content), JournalState::kWhole);
  ::close(directory);
  EXPECT_EQ(read_journal(-1, content), JournalState::kUnreadable);
  EXPECT_EQ(errno, EBADF);
}

TEST(JournalHash, DependsOnEveryByteAndTheLength) {
  const std::string text =
      "[ERROR]: here\r\n >a message of some length, so that there are several rounds of all lanes, "
      "and some bytes behind them\n";
  std::vector<std::uint64_t> hashes{journal_hash(text), journal_hash(""),
                                    journal_hash(text + '\0')};
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string other = text;
    other[i] = static_cast<char>(other[i] ^ 1);
    hashes.push_back(journal_hash(other));
    hashes.push_back(journal_hash(text.substr(0, i + 1) + "x"));
  }
  std::sort(hashes.begin(), hashes.end());
  EXPECT_EQ(std::adjacent_find(hashes.begin(), hashes.end()), hashes.end());
  EXPECT_EQ(journal_hash(text), journal_hash(std::string(text)));
}
