#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "fwbase/module/module_manage.h"
#include "tests/fwbase/module/host_modules.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/log_capture.h"

using fwbase::CModuleManage;
using fwbase::IRunLog;
using fwbase::test::Events;
using fwbase::test::FailingNew;
using fwbase::test::hex;
using fwbase::test::HostModule;
using fwbase::test::in_threads;
using fwbase::test::LogCapture;
using fwbase::test::record;

namespace {

struct ModuleIdentifiers : testing::Test {
  ModuleIdentifiers() { mm.init(); }

  CModuleManage mm;
  Events events;
  HostModule a{events, "a"};
  HostModule b{events, "b"};
  LogCapture log;
};

}  // namespace

TEST_F(ModuleIdentifiers, AChosenNumberGivesTheModule) {
  for (const unsigned int id : {0u, 1u, 65536u, 0xffffffffu}) {
    EXPECT_TRUE(mm.create_mid(id, &a)) << id;
    EXPECT_EQ(mm.query_mid(id), &a) << id;
  }
  EXPECT_TRUE(log.records().empty());
  EXPECT_TRUE(events.empty()) << "modules are not touched, valid or not";
}

TEST_F(ModuleIdentifiers, ATakenNumberKeepsItsModule) {
  mm.create_mid(7, &a);
  EXPECT_FALSE(mm.create_mid(7, &b));
  EXPECT_EQ(mm.query_mid(7), &a);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "此MID已存在:id=7")});
}

TEST_F(ModuleIdentifiers, AutomaticNumbersStartAt65537AndCannotBeChosenAgain) {
  EXPECT_EQ(mm.auto_create_mid(&a), 65537u);
  EXPECT_EQ(mm.auto_create_mid(&a), 65538u);
  EXPECT_EQ(mm.auto_create_mid(&b), 65539u);
  EXPECT_FALSE(mm.create_mid(65538, &b));
  EXPECT_EQ(mm.query_mid(65538), &a);
  EXPECT_EQ(mm.query_mid(65539), &b);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "此MID已存在:id=65538")});
}

TEST_F(ModuleIdentifiers, AnAutomaticNumberReplacesAChosenOneWithoutARecord) {
  ASSERT_TRUE(mm.create_mid(70000, &a));
  unsigned int id = 0;
  while (id < 70000) {
    id = mm.auto_create_mid(&b);
  }
  EXPECT_EQ(id, 70000u);
  EXPECT_EQ(mm.query_mid(70000), &b);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ModuleIdentifiers, NullModulesAreRefusedAndTheCounterStays) {
  EXPECT_FALSE(mm.create_mid(5, nullptr));
  EXPECT_EQ(mm.auto_create_mid(nullptr), 0u);
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "输入参数错误:id=5, module=0"),
                                        record(IRunLog::ERROR, "输入参数错误:module=0")}));
  EXPECT_EQ(mm.query_mid(5), nullptr);
  EXPECT_EQ(mm.auto_create_mid(&a), 65537u);
}

TEST_F(ModuleIdentifiers, UnknownNumbersAreLoggedAsWarnings) {
  EXPECT_EQ(mm.query_mid(8), nullptr);
  mm.destroy_mid(9);
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::WARN, "此MID不存在:id=8"),
                                        record(IRunLog::WARN, "此MID不存在:id=9")}));
}

TEST_F(ModuleIdentifiers, ADestroyedNumberIsFreeAgain) {
  mm.create_mid(7, &a);
  mm.destroy_mid(7);
  EXPECT_TRUE(mm.create_mid(7, &b));
  EXPECT_EQ(mm.query_mid(7), &b);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ModuleIdentifiers, ReleaseKeepsTheCounterAndInitStartsItAnew) {
  mm.auto_create_mid(&a);
  mm.release();
  EXPECT_EQ(mm.auto_create_mid(&a), 65538u);
  mm.init();
  EXPECT_EQ(mm.auto_create_mid(&a), 65537u);
}

TEST_F(ModuleIdentifiers, ADestroyedModuleKeepsItsNumbers) {
  static HostModule* given = nullptr;
  given = &a;
  fwbase::IMM::IBase* out = nullptr;
  ASSERT_EQ(mm.create_module(
                out, +[]() -> fwbase::IMM::IBase* { return given; }, nullptr),
            ec::MM_OK);
  mm.create_mid(7, out);
  ASSERT_TRUE(mm.destroy_module(out));
  EXPECT_EQ(mm.query_mid(7), &a);
}

TEST_F(ModuleIdentifiers, WithoutMemoryBothRegistrationsFailAndChangeNothing) {
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_FALSE(mm.create_mid(7, &a));
  }
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_EQ(mm.auto_create_mid(&a), 0u);
  }
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "内存不足:id=7"),
                                        record(IRunLog::ERROR, "内存不足:id=65537")}));
  EXPECT_EQ(mm.query_mid(7), nullptr);
  EXPECT_EQ(mm.auto_create_mid(&a), 65537u);
}

TEST_F(ModuleIdentifiers, EightThreadsGetDistinctNumbers) {
  std::vector<std::vector<unsigned int>> taken(8);
  in_threads(8, [&](int thread) {
    for (int i = 0; i < 100; ++i) {
      const unsigned int id = mm.auto_create_mid(&a);
      EXPECT_EQ(mm.query_mid(id), &a);
      EXPECT_TRUE(mm.create_mid(static_cast<unsigned int>(thread * 100 + i), &b));
      mm.destroy_mid(static_cast<unsigned int>(thread * 100 + i));
      taken[static_cast<std::size_t>(thread)].push_back(id);
    }
  });
  std::vector<unsigned int> all;
  for (const auto& ids : taken) {
    all.insert(all.end(), ids.begin(), ids.end());
  }
  std::sort(all.begin(), all.end());
  ASSERT_EQ(all.size(), 800u);
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i], 65537u + i);
  }
}
