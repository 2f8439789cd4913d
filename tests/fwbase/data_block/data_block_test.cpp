#include "fwbase/data_block/data_block.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "fwbase/data_block/data_block_factory.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/log_capture.h"

using fwbase::CDataBlockFT;
using fwbase::IDataBlock;
using fwbase::IRunLog;
using fwbase::test::gbk;
using fwbase::test::in_threads;
using fwbase::test::LogCapture;
using fwbase::test::record;

namespace {

struct DataBlock : testing::Test {
  DataBlock() { factory.create(block, 16); }
  ~DataBlock() override {
    if (block != nullptr) {
      block->release();
    }
  }

  std::string data() const { return std::string(block->rd_ptr(), block->data_len()); }

  CDataBlockFT factory;
  IDataBlock* block = nullptr;
};

}  // namespace

TEST_F(DataBlock, StartsEmptyWithItsWholeBufferAndTagZero) {
  EXPECT_EQ(block->buffer_len(), 16u);
  EXPECT_EQ(block->data_len(), 0u);
  EXPECT_EQ(block->rd_ptr(), block->wr_ptr());
  EXPECT_EQ(block->type(), 0);
}

TEST_F(DataBlock, CopyWritesAndReadingAdvances) {
  EXPECT_EQ(block->copy("hello", 5), ec::DB_OK);
  EXPECT_EQ(data(), "hello");
  block->rd_ptr(2);
  EXPECT_EQ(block->data_len(), 3u);
  EXPECT_EQ(data(), "llo");
  EXPECT_EQ(block->copy(" you", 4), ec::DB_OK);
  EXPECT_EQ(data(), "llo you");
}

TEST_F(DataBlock, PositionsMoveBothWays) {
  std::memcpy(block->wr_ptr(), "0123456789", 10);
  block->wr_ptr(10);
  block->rd_ptr(6);
  block->rd_ptr(-4);
  EXPECT_EQ(data(), "23456789");
  block->wr_ptr(-3);
  EXPECT_EQ(data(), "23456");
  block->wr_ptr(0);
  block->rd_ptr(0);
  EXPECT_EQ(data(), "23456");
  EXPECT_EQ(block->buffer_len(), 16u);
}

TEST_F(DataBlock, CopyFillsTheBufferToTheLastByte) {
  const std::string full(16, 'x');
  EXPECT_EQ(block->copy(full.data(), 16), ec::DB_OK);
  EXPECT_EQ(data(), full);
  EXPECT_EQ(block->copy("y", 1), ec::DB_OK);
  EXPECT_EQ(data(), full);
}

TEST_F(DataBlock, CopyOfMoreThanRemainsCopiesNothingAndSaysOk) {
  block->copy("0123456789", 10);
  const std::string more(17, 'x');
  for (const unsigned int n : {7u, 17u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
    EXPECT_EQ(block->copy(more.data(), n), ec::DB_OK) << n;
    EXPECT_EQ(data(), "0123456789") << n;
  }
}

TEST_F(DataBlock, CopyFromNullOrOfNothingCopiesNothing) {
  EXPECT_EQ(block->copy(nullptr, 5), ec::DB_OK);
  EXPECT_EQ(block->copy(nullptr, 0), ec::DB_OK);
  EXPECT_EQ(block->copy("x", 0), ec::DB_OK);
  EXPECT_EQ(block->data_len(), 0u);
}

TEST_F(DataBlock, CopyBeyondTheBufferCopiesNothing) {
  block->wr_ptr(17);
  char* const position = block->wr_ptr();
  EXPECT_EQ(block->copy("x", 1), ec::DB_OK);
  EXPECT_EQ(block->wr_ptr(), position);
  block->wr_ptr(-17);
  EXPECT_EQ(block->copy("x", 1), ec::DB_OK);
  EXPECT_EQ(data(), "x");
}

TEST_F(DataBlock, TheTagIsTheUsers) {
  for (const int tag : {1, -1, 0x7fffffff}) {
    block->type(tag);
    EXPECT_EQ(block->type(), tag);
  }
}

TEST_F(DataBlock, RealIsTheMessageBlockWithTheSamePositions) {
  block->copy("hello", 5);
  auto* const real = static_cast<ACE_Message_Block*>(block->real());
  EXPECT_EQ(real->rd_ptr(), block->rd_ptr());
  EXPECT_EQ(real->wr_ptr(), block->wr_ptr());
  EXPECT_EQ(real->size(), 16u);
  EXPECT_EQ(real->msg_type(), ACE_Message_Block::MB_DATA);
  EXPECT_EQ(real->msg_priority(), 0u);
  EXPECT_EQ(real->cont(), nullptr);
  EXPECT_EQ(real->locking_strategy(), nullptr);
  EXPECT_EQ(real->reference_count(), 1);
}

TEST_F(DataBlock, TheStorageLivesUntilItsLastReference) {
  block->copy("hello", 5);
  ACE_Message_Block* const other = static_cast<ACE_Message_Block*>(block->real())->duplicate();
  EXPECT_EQ(other->reference_count(), 2);
  block->release();
  block = nullptr;
  EXPECT_EQ(other->reference_count(), 1);
  EXPECT_EQ(std::string(other->rd_ptr(), other->length()), "hello");
  other->release();
}

TEST_F(DataBlock, AContinuationEndsWithTheBlock) {
  ACE_Message_Block continuation(8);
  static_cast<ACE_Message_Block*>(block->real())->cont(continuation.duplicate());
  EXPECT_EQ(continuation.reference_count(), 2);
  block->release();
  block = nullptr;
  EXPECT_EQ(continuation.reference_count(), 1);
}

TEST_F(DataBlock, SetUpAndReleaseAreTracedWithTheirTexts) {
  LogCapture log(IRunLog::TRACE);
  IDataBlock* traced = nullptr;
  factory.create(traced, 1);
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::TRACE, "Call: 数据块构造"),
                                        record(IRunLog::TRACE, "Ret: 数据块构造")}));
  log.clear();
  traced->type(1);
  traced->copy("x", 1);
  traced->rd_ptr(1);
  traced->wr_ptr(-1);
  EXPECT_TRUE(log.records().empty());
  traced->release();
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::TRACE, "Call: 数据块释放"),
                                        record(IRunLog::TRACE, "Ret: 数据块释放")}));
}

TEST_F(DataBlock, BlocksArePassedFromThreadToThread) {
  constexpr int kStages = 8;
  constexpr int kRounds = 100;
  // Each thread takes what the one before it left, adds a byte and hands on; the last one ends it.
  std::vector<std::atomic<IDataBlock*>> hand(kStages + 1);
  in_threads(kStages, [&](int stage) {
    const auto at = static_cast<std::size_t>(stage);
    for (int round = 0; round < kRounds; ++round) {
      IDataBlock* passed = nullptr;
      if (stage == 0) {
        factory.create(passed, kStages);
      } else {
        hand[at].wait(nullptr);
        passed = hand[at].exchange(nullptr);
        hand[at].notify_all();
      }
      const char own = static_cast<char>('0' + stage);
      passed->copy(&own, 1);
      if (stage == kStages - 1) {
        EXPECT_EQ(std::string(passed->rd_ptr(), passed->data_len()), "01234567");
        passed->release();
        continue;
      }
      while (IDataBlock* const full = hand[at + 1].load()) {
        hand[at + 1].wait(full);
      }
      hand[at + 1] = passed;
      hand[at + 1].notify_all();
    }
  });
}
