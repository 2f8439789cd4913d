#include "fwbase/data_block/data_block_factory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "tests/harness/address_space_limit.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/log_capture.h"

using fwbase::CDataBlockFT;
using fwbase::IDataBlock;
using fwbase::IRunLog;
using fwbase::test::FailingNew;
using fwbase::test::in_threads;
using fwbase::test::LogCapture;
using fwbase::test::record;

namespace {

struct DataBlockFactory : testing::Test {
  CDataBlockFT factory;
  IDataBlock* block = nullptr;
  LogCapture log;
};

}  // namespace

TEST_F(DataBlockFactory, ABlockOfNoBytesIsMade) {
  EXPECT_EQ(factory.create(block, 0), ec::DB_OK);
  EXPECT_EQ(block->buffer_len(), 0u);
  EXPECT_EQ(block->data_len(), 0u);
  EXPECT_EQ(block->copy("x", 1), ec::DB_OK);
  EXPECT_EQ(block->data_len(), 0u);
  block->release();
}

TEST_F(DataBlockFactory, OnlyBlocksOfMoreThan10240BytesAreReported) {
  EXPECT_EQ(factory.create(block, 10240), ec::DB_OK);
  EXPECT_EQ(block->buffer_len(), 10240u);
  block->release();
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(factory.create(block, 10241), ec::DB_OK);
  EXPECT_EQ(block->buffer_len(), 10241u);
  block->release();
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::WARN, "分配较大DataBlock: 10241(B)")});
}

TEST_F(DataBlockFactory, WithoutMemoryForTheBlockItIsLoggedAndNothingWritten) {
  IDataBlock* const before = reinterpret_cast<IDataBlock*>(&factory);
  block = before;
  const FailingNew memory(1);
  EXPECT_EQ(factory.create(block, 16), ec::DB_NO_MEMORY);
  EXPECT_EQ(block, before);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "new CDataBlock 失败")});
}

TEST_F(DataBlockFactory, WithoutMemoryForTheBufferOrItsAdministrationItFails) {
  int failures = 0;
  for (int n = 2;; ++n) {
    log.clear();
    const FailingNew memory(n);
    const ec::EC result = factory.create(block, 16);
    if (!memory.has_failed()) {
      EXPECT_EQ(result, ec::DB_OK);
      block->release();
      break;
    }
    ++failures;
    EXPECT_EQ(result, ec::DB_NO_MEMORY) << n;
    EXPECT_EQ(log.records(),
              std::vector{record(IRunLog::ERROR, "new ACE_Message_Block( 16 ) 失败.")})
        << n;
  }
  EXPECT_GE(failures, 2) << "the message block and its buffer";
}

#if FWBASE_TEST_CAN_LIMIT_ADDRESS_SPACE
TEST_F(DataBlockFactory, ABufferThatDoesNotFitIntoTheAddressSpaceIsNoMemory) {
  const fwbase::test::AddressSpaceLimit limit(256u << 20);
  EXPECT_EQ(factory.create(block, 3u << 30), ec::DB_NO_MEMORY);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::WARN, "分配较大DataBlock: -1073741824(B)"),
                         record(IRunLog::ERROR, "new ACE_Message_Block( -1073741824 ) 失败.")}));
  EXPECT_EQ(factory.allocate(3u << 30), nullptr);
  EXPECT_EQ(factory.create(block, 16), ec::DB_OK) << "the factory goes on";
  block->release();
}
#endif

TEST_F(DataBlockFactory, RawMemoryIsHandedOutAndFreed) {
  void* const memory = factory.allocate(100);
  ASSERT_NE(memory, nullptr);
  std::memset(memory, 1, 100);
  factory.deallocate(memory);
  factory.deallocate(factory.allocate(0));
  factory.deallocate(nullptr);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(DataBlockFactory, InitAndReleaseChangeNothing) {
  EXPECT_EQ(factory.init(), ec::DB_OK);
  factory.create(block, 1);
  factory.release();
  block->copy("x", 1);
  EXPECT_EQ(*block->rd_ptr(), 'x');
  block->release();
  EXPECT_TRUE(log.records().empty());
}

TEST_F(DataBlockFactory, EightThreadsMakeBlocks) {
  log.type(0);
  in_threads(8, [&](int thread) {
    for (unsigned int size = 0; size < 200; ++size) {
      IDataBlock* own = nullptr;
      ASSERT_EQ(factory.create(own, size), ec::DB_OK);
      own->type(thread);
      EXPECT_EQ(own->buffer_len(), size);
      EXPECT_EQ(own->type(), thread);
      own->release();
      factory.deallocate(factory.allocate(size));
    }
  });
}
