// The memory that the two processes share.
#include "report.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

#include "child_process.h"

namespace fwmod::test {

TEST(FwmodReport, TextIsSetOnce) {
  const auto text = std::make_unique<Texts<1>>();
  EXPECT_TRUE(text->get().empty());
  EXPECT_TRUE(text->add("first"));
  EXPECT_FALSE(text->add("second"));
  EXPECT_EQ(text->get(), std::vector<std::string>{"first"});
}

TEST(FwmodReport, LongTextIsCutBetweenCharacters) {
  const auto text = std::make_unique<Texts<1>>();
  text->add(std::string(2046, 'x') + "中");
  EXPECT_EQ(text->get(), std::vector<std::string>{std::string(2046, 'x')});
}

TEST(FwmodReport, KeepsTheFirstTextsAndCountsAll) {
  const auto texts = std::make_unique<Texts<2>>();
  for (const char* const text : {"a", "b", "c"}) {
    texts->add(text);
  }
  EXPECT_EQ(texts->get(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(texts->count(), 3U);
}

TEST(FwmodReport, IsSharedThroughItsDescriptorOnly) {
  const SharedMemory<Report> report;
  Report* const shared = SharedMemory<Report>::map(dup(report.descriptor()));
  ASSERT_NE(shared, nullptr);
  shared->step = Step::kUnloading;
  shared->fault.add("found");
  EXPECT_EQ(report->step, Step::kUnloading);
  EXPECT_EQ(report->fault.get(), std::vector<std::string>{"found"});
  EXPECT_EQ(SharedMemory<Report>::map(-1), nullptr);
  const int other = open("/dev/null", O_RDWR);
  EXPECT_EQ(SharedMemory<Report>::map(other), nullptr);
  close(other);
}

TEST(FwmodReport, CannotBeMadeShorter) {
  const SharedMemory<Report> report;
  EXPECT_NE(ftruncate(report.descriptor(), 0), 0);
}

}  // namespace fwmod::test
