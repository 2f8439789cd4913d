// A host that is built with -DDEBUG. First, so that no other header has put the macro aside before.
#define DEBUG 42
#include <fwbase/irunlog.h>

static_assert(DEBUG == 42, "the host's macro is as it was");

#undef DEBUG
#include <gtest/gtest.h>

TEST(RunLogHeader, TheLevelDebugSurvivesTheMacroOfThatName) {
  EXPECT_EQ(static_cast<unsigned int>(fwbase::IRunLog::DEBUG), 2u);
}
