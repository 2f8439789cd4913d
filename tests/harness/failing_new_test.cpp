#include "tests/harness/failing_new.h"

#include <gtest/gtest.h>

#include <new>
#include <thread>

using fwbase::test::FailingNew;

namespace {

// The functions are called by name: a compiler may leave out what a new-expression allocates.
bool nothrow_works() {
  void* const memory = ::operator new(1, std::nothrow);
  ::operator delete(memory, std::nothrow);
  return memory != nullptr;
}

bool throwing_works() {
  try {
    ::operator delete(::operator new(1));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

TEST(FailingNew, TheChosenCallFailsAndNoOther) {
  const FailingNew memory(2);
  EXPECT_TRUE(nothrow_works());
  EXPECT_FALSE(memory.has_failed());
  EXPECT_FALSE(nothrow_works());
  EXPECT_TRUE(memory.has_failed());
  EXPECT_TRUE(nothrow_works());
}

TEST(FailingNew, FormsAreToldApart) {
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_TRUE(nothrow_works());
    EXPECT_FALSE(throwing_works());
  }
  {
    const FailingNew memory(1);
    EXPECT_TRUE(throwing_works());
    EXPECT_FALSE(nothrow_works());
  }
  const FailingNew memory(2, FailingNew::ANY);
  EXPECT_TRUE(throwing_works());
  EXPECT_FALSE(nothrow_works());
}

TEST(FailingNew, OtherThreadsAndLaterCallsAreLeftAlone) {
  {
    const FailingNew memory(1);
    bool other_thread_works = false;
    std::thread([&] { other_thread_works = nothrow_works(); }).join();
    EXPECT_TRUE(other_thread_works);
    EXPECT_FALSE(memory.has_failed());
  }
  EXPECT_TRUE(nothrow_works());
}
