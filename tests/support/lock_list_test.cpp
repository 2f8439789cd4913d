// Which locks a fork takes, in which order, and what becomes of them in parent and child. What runs
// in a child says by its exit status whether all is as it should be.
#include "support/lock_list.h"

#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/mutex.h"
#include "support/rw_lock.h"

using support::LockRank;
using support::MutexGuard;
using support::RankedMutex;
using support::RwLock;
using support::WriteGuard;

namespace {

/// A lock that keeps what is done with it.
class Recorded final : public support::ListedLock {
 public:
  using Take = std::function<bool()>;

  Recorded(
      std::string name, LockRank rank, std::string& record, Take take = [] { return true; })
      : ListedLock(rank, [this](bool whole) { add(whole ? "whole" : "torn"); }),
        m_name(std::move(name)),
        m_record(record),
        m_take(std::move(take)) {
    join();
  }
  ~Recorded() { leave(); }

 private:
  bool take(const timespec&) override {
    add("take");
    return m_take();
  }
  void give_back() override { add("give back"); }
  void make_anew(bool taken) override { add(taken ? "make anew" : "make anew what is held"); }

  void add(const char* what) { m_record += m_name + ": " + what + "\n"; }

  const std::string m_name;
  std::string& m_record;
  const Take m_take;
};

class LockList : public testing::Test {
 protected:
  LockList() { fwbase::IFWBase::instance(); }  // watches forks

  /// Forks, and says whether this was good in the child.
  static bool in_child(const std::function<bool()>& good) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::_exit(good() ? 7 : 1);
    }
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 7;
  }

  std::string record;
};

}  // namespace

TEST_F(LockList, LocksAreTakenByRankAndGivenBackOrMadeAnewTheOtherWayRound) {
  const Recorded queue("queue", LockRank::kLogQueue, record);
  const Recorded modules("modules", LockRank::kModules, record);
  const Recorded script("script", LockRank::kScript, record);
  const std::string taken = "modules: take\nscript: take\nqueue: take\n";
  EXPECT_TRUE(in_child([&] {
    return record == taken +
                         "queue: make anew\nqueue: whole\nscript: make anew\nscript: whole\n"
                         "modules: make anew\nmodules: whole\n";
  }));
  EXPECT_EQ(record, taken + "queue: give back\nscript: give back\nmodules: give back\n");
}

TEST_F(LockList, ALockThatIsHeldIsNotGivenBackAndIsMadeAnew) {
  const Recorded held("held", LockRank::kScript, record, [] { return false; });
  EXPECT_TRUE(
      in_child([&] { return record == "held: take\nheld: make anew what is held\nheld: torn\n"; }));
  EXPECT_EQ(record, "held: take\n");
}

TEST_F(LockList, ALockLeavesWhenItIsDestroyed) {
  auto first = std::make_unique<Recorded>("first", LockRank::kFacade, record);
  auto second = std::make_unique<Recorded>("second", LockRank::kFacade, record);
  auto third = std::make_unique<Recorded>("third", LockRank::kFacade, record);
  const auto visited = [&] {
    record.clear();
    EXPECT_TRUE(in_child([] { return true; }));
    return record;
  };
  second.reset();
  EXPECT_EQ(visited(), "third: take\nfirst: take\nthird: give back\nfirst: give back\n");
  third.reset();
  EXPECT_EQ(visited(), "first: take\nfirst: give back\n");
  first.reset();
  EXPECT_EQ(visited(), "");
}

// A module may make an environment in its init(), while the fork waits for the manager.
TEST_F(LockList, LocksAreMadeAndDestroyedWhileAForkWaitsForOneOfALowerRank) {
  std::atomic<bool> waits{false};
  std::atomic<bool> goes_on{false};
  const Recorded manager("manager", LockRank::kModules, record, [&] {
    waits = true;
    waits.notify_one();
    goes_on.wait(false);
    return true;
  });
  std::thread module([&] {
    waits.wait(false);
    for (const LockRank rank : {LockRank::kScript, LockRank::kEnvironment, LockRank::kLocalTime}) {
      const RwLock lock(rank);
    }
    goes_on = true;
    goes_on.notify_one();
  });
  EXPECT_TRUE(in_child([] { return true; }));
  module.join();
}

TEST_F(LockList, LocksComeAndGoDuringForks) {
  const auto use = [] {
    RwLock lock(LockRank::kEnvironment);
    RankedMutex mutex(LockRank::kLogQueue);
    const WriteGuard guard(lock);
    const MutexGuard other(mutex);
  };
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        use();
      }
    });
  }
  for (int i = 0; i < 50; ++i) {
    EXPECT_TRUE(in_child([&] {
      use();
      return true;
    }));
  }
  stop = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST_F(LockList, AMutexIsFreeInTheChildAndInTheParent) {
  RankedMutex mutex(LockRank::kLogQueue);
  const auto can_be_taken = [&] {
    const MutexGuard guard(mutex);
    return true;
  };
  EXPECT_TRUE(in_child(can_be_taken));
  EXPECT_TRUE(can_be_taken());
}

// The fork waits for it, but not for ever.
TEST_F(LockList, AMutexThatAnotherThreadKeepsIsMadeAnewInTheChild) {
  bool whole = true;
  RankedMutex mutex(LockRank::kLogQueue, [&](bool is_whole) { whole = is_whole; });
  std::atomic<bool> holds{false};
  std::atomic<bool> done{false};
  std::thread holder([&] {
    const MutexGuard guard(mutex);
    holds = true;
    holds.notify_one();
    done.wait(false);
  });
  holds.wait(false);
  EXPECT_TRUE(in_child([&] {
    const MutexGuard guard(mutex);
    return !whole;
  }));
  done = true;
  done.notify_one();
  holder.join();
  const MutexGuard guard(mutex);  // the holder's hold was not given back by the fork
}

// The system refuses a second hold.
TEST_F(LockList, AThreadThatForksWhileItWritesStillWritesInTheChild) {
  RwLock lock(LockRank::kModules);
  const auto is_held = [&] {
    errno = 0;
    lock.release_read(lock.acquire_read());
    return errno == EDEADLK;
  };
  {
    const WriteGuard guard(lock);
    EXPECT_TRUE(in_child(is_held));
    EXPECT_TRUE(is_held());
  }
  EXPECT_TRUE(in_child([&] { return !is_held(); }));
  EXPECT_FALSE(is_held());
}
