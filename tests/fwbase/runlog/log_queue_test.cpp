#include "fwbase/runlog/log_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "fwbase/runlog/packed_record.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/watched_thread.h"

using namespace fwbase;
using fwbase::test::FailingNew;
using fwbase::test::WatchedThread;

namespace {

class LogQueueTest : public testing::Test {
 protected:
  void push(const std::string& message, IRunLog::Type level = IRunLog::ERROR) {
    queue.push({level, message.c_str(), "", {}});
  }
  void set(LogOptions::WhenFull when_full, unsigned int keep_level = 0) {
    LogOptions options;
    options.when_full = when_full;
    options.keep_level = keep_level;
    queue.options(options);
  }

  // The messages of all records that are there; "(closed)" when there will be none.
  std::vector<std::string> take() {
    std::vector<char> bytes;
    if (!queue.take(bytes)) {
      return {"(closed)"};
    }
    std::vector<std::string> messages;
    PackedRecords records(bytes);
    while (const auto record = records.next(false)) {
      messages.emplace_back(record->message);
    }
    return messages;
  }

  // Closes the queue, and gives the messages that were left.
  std::vector<std::string> take_rest() {
    queue.close();
    std::vector<std::string> rest;
    for (auto taken = take(); taken != std::vector<std::string>{"(closed)"}; taken = take()) {
      rest.insert(rest.end(), taken.begin(), taken.end());
    }
    return rest;
  }

  LogQueue queue;
};

using Messages = std::vector<std::string>;

constexpr std::size_t kOverhead = 22;  // of a record without a location

}  // namespace

TEST_F(LogQueueTest, TheWriterGetsAllRecordsInTheirOrder) {
  for (const char* message : {"a", "b", "c"}) {
    push(message);
  }
  EXPECT_EQ(take(), (Messages{"a", "b", "c"}));
  push("d");
  EXPECT_EQ(take(), Messages{"d"});
}

TEST_F(LogQueueTest, IsFullFrom16384BytesOn) {
  const std::string just_below(16383 - kOverhead, 'x');
  const std::string just_full(16384 - kOverhead, 'x');
  push(just_below);
  push("fits");  // or it would wait for ever
  EXPECT_EQ(take(), (Messages{just_below, "fits"}));
  push(just_full);
  const WatchedThread producer([&] { push("waits"); });
  producer.wait_until_it_waits();
  EXPECT_EQ(take(), Messages{just_full});
}

TEST_F(LogQueueTest, IsFullFromTheBytesOnThatOptionsSay) {
  LogOptions options;
  options.queue_bytes = 100;
  queue.options(options);
  push(std::string(100 - kOverhead, 'x'));
  {
    const WatchedThread producer([&] { push("waits"); });
    producer.wait_until_it_waits();
    EXPECT_EQ(take().size(), 1u);
  }
  EXPECT_EQ(take(), Messages{"waits"});
}

TEST_F(LogQueueTest, DropNewDropsWhatComesToAFullQueueAndCountsIt) {
  set(LogOptions::kDropNew);
  const std::string filler(16384, 'x');
  push(filler);
  push("dropped");
  push("dropped");
  EXPECT_EQ(take(), Messages{filler});
  EXPECT_EQ(queue.take_dropped().queue_full, 2u);
  EXPECT_EQ(queue.take_dropped().queue_full, 0u);
  push("fits");
  EXPECT_EQ(take(), Messages{"fits"});
}

TEST_F(LogQueueTest, DropBelowLetsTheLevelsWaitThatAreToBeKept) {
  set(LogOptions::kDropBelow, IRunLog::ERROR | IRunLog::ALERT);
  const std::string filler(16384, 'x');
  push(filler, IRunLog::TRACE);
  push("dropped", IRunLog::WARN);
  {
    const WatchedThread first([&] { push("kept", IRunLog::ERROR); });
    const WatchedThread second([&] { push("kept", IRunLog::ALERT); });
    first.wait_until_it_waits();
    second.wait_until_it_waits();
    push("dropped", static_cast<IRunLog::Type>(0));
    EXPECT_EQ(take(), Messages{filler});
  }
  EXPECT_EQ(take_rest(), (Messages{"kept", "kept"}));
  EXPECT_EQ(queue.take_dropped().queue_full, 2u);
}

TEST_F(LogQueueTest, OfferedIsTakenAndDropped) {
  set(LogOptions::kDropNew);
  constexpr int kThreads = 8;
  constexpr int kRecords = 2000;
  std::vector<std::thread> producers;
  for (int t = 0; t < kThreads; ++t) {
    producers.emplace_back([this] {
      for (int i = 0; i < kRecords; ++i) {
        push(std::string(100, 'x'));
      }
    });
  }
  std::size_t taken = 0;
  std::thread writer([&] {
    for (auto some = take(); some != Messages{"(closed)"}; some = take()) {
      taken += some.size();
    }
  });
  for (std::thread& producer : producers) {
    producer.join();
  }
  queue.close();
  writer.join();
  EXPECT_EQ(taken + queue.take_dropped().queue_full, static_cast<std::size_t>(kThreads * kRecords));
}

TEST_F(LogQueueTest, ARecordLargerThanTheQueueIsTakenWhenThereIsRoom) {
  const std::string large(100000, 'x');
  push(large);
  EXPECT_EQ(take(), Messages{large});
}

TEST_F(LogQueueTest, AProducerWaitsForRoomAndGetsIt) {
  const std::string filler(16384, 'x');
  push(filler);
  std::thread producer([&] { push("behind"); });
  EXPECT_EQ(take(), Messages{filler});
  producer.join();
  EXPECT_EQ(take(), Messages{"behind"});
}

TEST_F(LogQueueTest, TheWriterWaitsForARecordHoweverLate) {
  std::atomic<int> taken{0};
  std::thread writer([&] {
    while (take() != Messages{"(closed)"}) {
      ++taken;
    }
  });
  for (int i = 1; i <= 50; ++i) {
    // Some come while it naps, and some when it has gone to sleep.
    const auto later = std::chrono::steady_clock::now() + std::chrono::milliseconds(i % 13);
    while (std::chrono::steady_clock::now() < later) {
      std::this_thread::yield();
    }
    push("x");
    while (taken < i) {
      std::this_thread::yield();
    }
  }
  queue.close();
  writer.join();
  EXPECT_EQ(taken, 50);
}

TEST_F(LogQueueTest, ManyProducersLoseNothingAndKeepTheirOrder) {
  constexpr int kThreads = 8;
  constexpr int kRecords = 2000;
  std::vector<std::thread> producers;
  for (int t = 0; t < kThreads; ++t) {
    producers.emplace_back([this, t] {
      for (int i = 0; i < kRecords; ++i) {
        push(std::to_string(t) + " " + std::to_string(i));
      }
    });
  }
  std::vector<int> next(kThreads, 0);
  for (int count = 0; count < kThreads * kRecords;) {
    for (const std::string& message : take()) {
      const std::size_t blank = message.find(' ');
      const auto thread = static_cast<std::size_t>(std::stoi(message));
      ASSERT_EQ(std::stoi(message.substr(blank)), next[thread]++);
      ++count;
    }
  }
  for (std::thread& producer : producers) {
    producer.join();
  }
  EXPECT_EQ(take_rest(), Messages{});
}

TEST_F(LogQueueTest, WhenClosedItGivesWhatIsThereAndThenNothing) {
  push("a");
  queue.close();
  EXPECT_EQ(take(), Messages{"a"});
  EXPECT_EQ(take(), Messages{"(closed)"});
  queue.open();
  push("b");
  EXPECT_EQ(take(), Messages{"b"});
}

TEST_F(LogQueueTest, CloseWakesTheWriter) {
  std::thread writer([&] { EXPECT_EQ(take(), Messages{"(closed)"}); });
  queue.close();
  writer.join();
}

TEST_F(LogQueueTest, ClosingLetsProducersInThatWaitForRoom) {
  const std::string filler(16384, 'x');
  push(filler);
  {
    std::list<WatchedThread> producers;
    for (int i = 0; i < 4; ++i) {
      producers.emplace_back([&] { push("waited"); }).wait_until_it_waits();
    }
    queue.close();
  }
  push("late");
  EXPECT_EQ(take_rest(), (Messages{filler, "waited", "waited", "waited", "waited", "late"}));
}

TEST_F(LogQueueTest, WithoutMemoryARecordIsDroppedWithEnomem) {
  {
    const FailingNew memory(1, FailingNew::ANY);
    errno = 0;
    push("dropped");
    EXPECT_EQ(errno, ENOMEM);
  }
  push("x");
  EXPECT_EQ(take(), Messages{"x"});
}

TEST_F(LogQueueTest, AThreadThatIsCancelledWhileItWaitsLeavesTheQueue) {
  push(std::string(16384, 'x'));
  {
    WatchedThread producer([&] { push("never"); });
    producer.wait_until_it_waits();
    producer.cancel();
  }
  EXPECT_EQ(take().size(), 1u);
  push("x");
  EXPECT_EQ(take(), Messages{"x"});
}
