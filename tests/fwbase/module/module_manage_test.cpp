#include "fwbase/module/module_manage.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/fwbase/module/host_modules.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/log_capture.h"

using fwbase::CModuleManage;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::test::Events;
using fwbase::test::FailingNew;
using fwbase::test::hex;
using fwbase::test::HostFactory;
using fwbase::test::HostModule;
using fwbase::test::in_threads;
using fwbase::test::LogCapture;
using fwbase::test::record;

namespace {

// What the creation functions give: they have no arguments of their own.
thread_local IMM::IBase* given = nullptr;
IMM::IBase* give() { return given; }
IMM::IBase* throw_instead() { throw std::runtime_error("creation function"); }

[[noreturn]] ec::EC throw_in_init() { throw std::runtime_error("init"); }
[[noreturn]] void throw_in_release() { throw std::runtime_error("release"); }

struct ModuleManage : testing::Test {
  ModuleManage() { mm.init(); }
  ~ModuleManage() override {
    factory.on_destroy = [] {};
    for (HostModule& module : modules) {
      module.on_release = [] {};
    }
    mm.release();
  }

  ec::EC create(HostModule& module) {
    IMM::IBase* created = nullptr;
    given = &module;
    return mm.create_module(created, &give, nullptr);
  }

  void create_factory() {
    IMM::IBase* created = nullptr;
    given = &factory;
    ASSERT_EQ(mm.create_module(created, &give, nullptr), ec::MM_OK);
  }

  ec::EC create_by_factory(HostModule& module) {
    IMM::IBase* created = nullptr;
    factory.to_give.push_back(&module);
    return mm.create_module(created, &factory, nullptr);
  }

  CModuleManage mm;
  Events events;
  // In one array, so that their addresses ascend.
  HostModule modules[4] = {{events, "m0"}, {events, "m1"}, {events, "m2"}, {events, "m3"}};
  HostFactory factory{events, "f"};
  IMM::IBase* out = nullptr;
  LogCapture log;
};

}  // namespace

// Creation by a function

TEST_F(ModuleManage, AFunctionsModuleIsInitialisedWithTheArgumentAndValid) {
  int arg = 0;
  given = &modules[0];
  EXPECT_EQ(mm.create_module(out, &give, &arg), ec::MM_OK);
  EXPECT_EQ(out, &modules[0]);
  EXPECT_EQ(modules[0].last_arg, &arg);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::DEBUG, "对模块进行初始化: path=NULL, fname=NULL")});
  EXPECT_TRUE(mm.is_valid(out));
}

TEST_F(ModuleManage, AModuleGivenBeforeIsNotInitialisedAgain) {
  create(modules[0]);
  log.clear();
  EXPECT_EQ(create(modules[0]), ec::MM_OK);
  EXPECT_EQ(events, Events{"init m0"});
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::DEBUG,
                                              "此模块已在早前初始化,直接使用. path=NULL, "
                                              "fname=NULL")});
  mm.release();
  EXPECT_EQ(events, (Events{"init m0", "release m0"}));
}

TEST_F(ModuleManage, ANullFunctionIsRefused) {
  out = &modules[0];
  EXPECT_EQ(mm.create_module(out, static_cast<IMM::CreateFun>(nullptr), nullptr), ec::MM_BAD_PARAM);
  EXPECT_EQ(out, &modules[0]);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "创建模块的导出函数为NULL. path=NULL, fname=NULL")});
}

TEST_F(ModuleManage, AFunctionThatGivesNullFails) {
  out = &modules[0];
  given = nullptr;
  EXPECT_EQ(mm.create_module(out, &give, nullptr), ec::MM_INIT_FAILED);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR,
                               "无法通过模块导出函数返回模块的实例. path=NULL, fname=NULL")});
}

TEST_F(ModuleManage, AFailedInitIsPassedOnAndTheModuleLeftToTheCaller) {
  for (const ec::EC code : {0x0u, 0x1u, 0x7fffffffu, ec::EC{ec::SCRIPT_E_LOAD}}) {
    events.clear();
    log.clear();
    modules[0].on_init = [code] { return code; };
    given = &modules[0];
    out = nullptr;
    EXPECT_EQ(mm.create_module(out, &give, nullptr), code);
    EXPECT_EQ(out, &modules[0]);
    EXPECT_EQ(events, Events{"init m0"});
    EXPECT_EQ(log.records(),
              std::vector{record(IRunLog::ERROR, "模块初始化失败. path=NULL, fname=NULL")});
    EXPECT_FALSE(mm.is_valid(out));
  }
}

TEST_F(ModuleManage, AnyCodeWithTheTopBitIsASuccessOfInit) {
  modules[0].on_init = [] { return ec::EC{0xffffffff}; };
  EXPECT_EQ(create(modules[0]), ec::MM_OK);
  EXPECT_TRUE(mm.is_valid(&modules[0]));
}

// Creation by a factory

TEST_F(ModuleManage, AFactorysModuleIsInitialisedWithTheArgumentAndValid) {
  int arg = 0;
  create_factory();
  factory.to_give = {&modules[0]};
  EXPECT_EQ(mm.create_module(out, &factory, &arg), ec::MM_OK);
  EXPECT_EQ(out, &modules[0]);
  EXPECT_EQ(modules[0].last_arg, &arg);
  EXPECT_EQ(events, (Events{"init f", "create by f", "init m0"}));
  EXPECT_TRUE(mm.is_valid(out));
  EXPECT_EQ(mm.get_module_factory(out), &factory);
}

TEST_F(ModuleManage, CreationByAFactoryLogsOnlyTheTestOfTheFactory) {
  create_factory();
  log.clear();
  create_by_factory(modules[0]);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::DEBUG, "这是一个直接创建的模块")});
}

TEST_F(ModuleManage, ANullFactoryIsRefused) {
  EXPECT_EQ(mm.create_module(out, static_cast<IMM::IFactory*>(nullptr), nullptr), ec::MM_BAD_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "输入参数错误:factory=0x0")});
}

TEST_F(ModuleManage, AFactoryThatTheManagerDidNotCreateIsRefused) {
  out = &modules[1];
  EXPECT_EQ(create_by_factory(modules[0]), ec::MM_BAD_FACTORY);
  EXPECT_EQ(out, &modules[1]);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "这是一个无效的模块:module=" + hex(&factory)),
                         record(IRunLog::ERROR, "工厂模块无效:factory=0x" + hex(&factory))}));
}

TEST_F(ModuleManage, AFactoryThatGivesNullFails) {
  create_factory();
  log.clear();
  out = &modules[0];
  EXPECT_EQ(mm.create_module(out, &factory, nullptr), ec::MM_FACTORY_FAILED);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(
      log.records(),
      (std::vector{record(IRunLog::DEBUG, "这是一个直接创建的模块"),
                   record(IRunLog::ERROR, "通过工厂创建模块失败:factory=0x" + hex(&factory))}));
}

TEST_F(ModuleManage, AFactorysModuleGivenBeforeIsNotInitialisedAgain) {
  create_factory();
  create_by_factory(modules[0]);
  EXPECT_EQ(create_by_factory(modules[0]), ec::MM_OK);
  EXPECT_EQ(events, (Events{"init f", "create by f", "init m0", "create by f"}));
}

TEST_F(ModuleManage, AFactorysModuleWhoseInitFailsGoesBackWithoutARecord) {
  create_factory();
  log.clear();
  modules[0].on_init = [] { return ec::EC{77}; };
  EXPECT_EQ(create_by_factory(modules[0]), 77u);
  EXPECT_EQ(events, (Events{"init f", "create by f", "init m0", "destroy by f of m0"}));
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::DEBUG, "这是一个直接创建的模块")});
  EXPECT_FALSE(mm.is_valid(&modules[0]));
}

// Validity

TEST_F(ModuleManage, IsValidLogsHowAModuleWasMade) {
  create_factory();
  create_by_factory(modules[0]);
  log.clear();
  EXPECT_TRUE(mm.is_valid(&factory));
  EXPECT_TRUE(mm.is_valid(&modules[0]));
  EXPECT_FALSE(mm.is_valid(&modules[1]));
  EXPECT_FALSE(mm.is_valid(nullptr));
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::DEBUG, "这是一个直接创建的模块"),
                         record(IRunLog::DEBUG, "这是一个由工厂创建的模块"),
                         record(IRunLog::ERROR, "这是一个无效的模块:module=" + hex(&modules[1])),
                         record(IRunLog::ERROR, "输入参数错误:module=0")}));
}

TEST_F(ModuleManage, OnlyFactoryMadeModulesHaveAFactory) {
  create(modules[0]);
  log.clear();
  EXPECT_EQ(mm.get_module_factory(&modules[0]), nullptr);
  EXPECT_EQ(mm.get_module_factory(&modules[1]), nullptr);
  EXPECT_EQ(mm.get_module_factory(nullptr), nullptr);
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "此模块没有对应的工厂接口"),
                                        record(IRunLog::ERROR, "此模块没有对应的工厂接口"),
                                        record(IRunLog::ERROR, "输入参数错误:base=0")}));
}

// Destruction

TEST_F(ModuleManage, ADirectModuleIsReleased) {
  create(modules[0]);
  events.clear();
  log.clear();
  EXPECT_TRUE(mm.destroy_module(&modules[0]));
  EXPECT_EQ(events, Events{"release m0"});
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::DEBUG, "销毁的是一个直接创建的模块实例")});
  EXPECT_FALSE(mm.is_valid(&modules[0]));
  EXPECT_FALSE(mm.destroy_module(&modules[0]));
}

TEST_F(ModuleManage, AFactorysModuleIsReleasedAndGoesBackToItsFactory) {
  create_factory();
  create_by_factory(modules[0]);
  events.clear();
  log.clear();
  EXPECT_TRUE(mm.destroy_module(&modules[0]));
  EXPECT_EQ(events, (Events{"release m0", "destroy by f of m0"}));
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::DEBUG, "这是一个直接创建的模块"),
                                        record(IRunLog::DEBUG, "销毁的是一个由工厂创建的模块")}));
  EXPECT_FALSE(mm.is_valid(&modules[0]));
}

TEST_F(ModuleManage, AModuleWhoseFactoryIsGoneIsOnlyForgotten) {
  create_factory();
  create_by_factory(modules[0]);
  create_by_factory(modules[1]);
  mm.destroy_module(&factory);
  events.clear();
  log.clear();
  EXPECT_TRUE(mm.destroy_module(&modules[0]));
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "这是一个无效的模块:module=" + hex(&factory)),
                         record(IRunLog::DEBUG, "销毁的是一个由工厂创建的模块")}));
  EXPECT_FALSE(mm.is_valid(&modules[0]));
  mm.release();
  EXPECT_TRUE(events.empty());
}

TEST_F(ModuleManage, DestroyOfAnUnknownPointerChangesNothing) {
  create(modules[0]);
  log.clear();
  EXPECT_FALSE(mm.destroy_module(&modules[1]));
  EXPECT_FALSE(mm.destroy_module(nullptr));
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "无法销毁一个无效的模块"),
                                        record(IRunLog::ERROR, "输入参数错误: m=0")}));
  EXPECT_EQ(events, Events{"init m0"});
  EXPECT_TRUE(mm.is_valid(&modules[0]));
}

// Emptying

TEST_F(ModuleManage, ReleaseGivesFactoryModulesBackFirstEachKindFromTheHighestAddress) {
  create(modules[0]);
  create_factory();
  create_by_factory(modules[1]);
  create_by_factory(modules[3]);
  create(modules[2]);
  events.clear();
  mm.release();
  const Events direct(events.begin() + 4, events.end());
  EXPECT_EQ(Events(events.begin(), events.begin() + 4),
            (Events{"release m3", "destroy by f of m3", "release m1", "destroy by f of m1"}));
  const bool factory_is_highest = std::less<void*>()(&modules[2], &factory);
  EXPECT_EQ(direct, factory_is_highest ? (Events{"release f", "release m2", "release m0"})
                                       : (Events{"release m2", "release m0", "release f"}));
  mm.release();
  EXPECT_EQ(events.size(), 7u);
}

TEST_F(ModuleManage, AFactoryMadeByAFactoryCountsAsValidUntilAllFactoryModulesAreDone) {
  // At the highest address, so that it is released before the module that it made.
  struct {
    HostModule low;
    HostFactory high;
  } pair{{events, "made"}, {events, "second"}};
  create_factory();
  factory.to_give = {&pair.high};
  ASSERT_EQ(mm.create_module(out, &factory, nullptr), ec::MM_OK);
  pair.high.to_give = {&pair.low};
  ASSERT_EQ(mm.create_module(out, &pair.high, nullptr), ec::MM_OK);
  events.clear();
  mm.release();
  EXPECT_EQ(events, (Events{"release second", "destroy by f of a factory", "release made",
                            "destroy by second of made", "release f"}));
}

TEST_F(ModuleManage, ReleaseAndInitEmptyTheIdentifiers) {
  mm.create_mid(1, &modules[0]);
  mm.release();
  EXPECT_EQ(mm.query_mid(1), nullptr);
  mm.create_mid(1, &modules[0]);
  mm.init();
  EXPECT_EQ(mm.query_mid(1), nullptr);
}

TEST_F(ModuleManage, InitAndTheDestructorForgetModulesWithoutCallingThem) {
  create_factory();
  create(modules[0]);
  create_by_factory(modules[1]);
  events.clear();
  EXPECT_EQ(mm.init(), ec::MM_OK);
  EXPECT_FALSE(mm.is_valid(&modules[0]));
  EXPECT_FALSE(mm.is_valid(&modules[1]));
  mm.release();
  {
    CModuleManage other;
    other.init();
    given = &modules[2];
    other.create_module(out, &give, nullptr);
  }
  EXPECT_EQ(events, Events{"init m2"});
}

// Host code that throws

TEST_F(ModuleManage, AFunctionThatThrowsLeavesNothingBehind) {
  out = &modules[0];
  EXPECT_THROW(mm.create_module(out, &throw_instead, nullptr), std::runtime_error);
  EXPECT_EQ(out, &modules[0]);
  EXPECT_EQ(create(modules[0]), ec::MM_OK);
}

TEST_F(ModuleManage, AModuleThatThrowsFromInitIsLeftToTheCaller) {
  modules[0].on_init = throw_in_init;
  given = &modules[0];
  EXPECT_THROW(mm.create_module(out, &give, nullptr), std::runtime_error);
  EXPECT_EQ(out, &modules[0]);
  EXPECT_FALSE(mm.is_valid(out));
  mm.release();
  EXPECT_EQ(events, Events{"init m0"});
}

TEST_F(ModuleManage, AFactorysModuleThatThrowsFromInitGoesBack) {
  create_factory();
  modules[0].on_init = throw_in_init;
  EXPECT_THROW(create_by_factory(modules[0]), std::runtime_error);
  EXPECT_EQ(events, (Events{"init f", "create by f", "init m0", "destroy by f of m0"}));
  EXPECT_FALSE(mm.is_valid(&modules[0]));
}

TEST_F(ModuleManage, AFactoryThatThrowsLeavesNothingBehind) {
  create_factory();
  factory.on_create = throw_in_release;
  out = &modules[0];
  EXPECT_THROW(mm.create_module(out, &factory, nullptr), std::runtime_error);
  EXPECT_EQ(out, &modules[0]);
  factory.on_create = [] {};
  EXPECT_EQ(create_by_factory(modules[0]), ec::MM_OK);
}

TEST_F(ModuleManage, ADestroyedModuleThatThrowsIsForgotten) {
  create_factory();
  create(modules[0]);
  create_by_factory(modules[1]);
  create_by_factory(modules[2]);
  modules[0].on_release = throw_in_release;
  modules[1].on_release = throw_in_release;
  factory.on_destroy = throw_in_release;
  events.clear();
  EXPECT_THROW(mm.destroy_module(&modules[0]), std::runtime_error);
  EXPECT_THROW(mm.destroy_module(&modules[1]), std::runtime_error);
  EXPECT_THROW(mm.destroy_module(&modules[2]), std::runtime_error);
  EXPECT_EQ(events, (Events{"release m0", "release m1", "release m2", "destroy by f of m2"}));
  for (HostModule& module : modules) {
    EXPECT_FALSE(mm.is_valid(&module));
  }
  mm.release();
  EXPECT_EQ(events.back(), "release f");
  EXPECT_EQ(events.size(), 5u);
}

TEST_F(ModuleManage, ReleaseGoesOnBehindAModuleThatThrewWhenItIsCalledAgain) {
  create(modules[0]);
  create(modules[1]);
  create(modules[2]);
  modules[1].on_release = throw_in_release;
  events.clear();
  EXPECT_THROW(mm.release(), std::runtime_error);
  EXPECT_EQ(events, (Events{"release m2", "release m1"}));
  EXPECT_FALSE(mm.is_valid(&modules[2]));
  EXPECT_FALSE(mm.is_valid(&modules[1]));
  EXPECT_TRUE(mm.is_valid(&modules[0]));
  mm.release();
  EXPECT_EQ(events, (Events{"release m2", "release m1", "release m0"}));
}

TEST_F(ModuleManage, ReleaseGoesOnBehindAFactoryThatThrewWhenItIsCalledAgain) {
  create_factory();
  create_by_factory(modules[0]);
  create_by_factory(modules[1]);
  factory.on_destroy = throw_in_release;
  events.clear();
  EXPECT_THROW(mm.release(), std::runtime_error);
  EXPECT_EQ(events, (Events{"release m1", "destroy by f of m1"}));
  EXPECT_TRUE(mm.is_valid(&factory));
  factory.on_destroy = [] {};
  mm.release();
  EXPECT_EQ(events, (Events{"release m1", "destroy by f of m1", "release m0", "destroy by f of m0",
                            "release f"}));
}

TEST_F(ModuleManage, ABadAllocOfHostCodeReachesTheCaller) {
  modules[0].on_init = []() -> ec::EC { throw std::bad_alloc(); };
  EXPECT_THROW(create(modules[0]), std::bad_alloc);
  modules[0].on_init = [] { return ec::MM_OK; };
  EXPECT_EQ(create(modules[0]), ec::MM_OK);
}

// Memory

TEST_F(ModuleManage, WithoutMemoryToRememberAModuleNoFunctionIsCalled) {
  given = &modules[0];
  out = &modules[1];
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_EQ(mm.create_module(out, &give, nullptr), ec::MM_INIT_FAILED);
    EXPECT_TRUE(memory.has_failed());
  }
  EXPECT_EQ(out, &modules[1]);
  EXPECT_TRUE(events.empty());
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR,
                               "无法通过模块导出函数返回模块的实例. path=NULL, fname=NULL")});
  EXPECT_EQ(create(modules[0]), ec::MM_OK);
}

TEST_F(ModuleManage, WithoutMemoryToRememberAModuleNoFactoryIsAskedForOne) {
  create_factory();
  factory.to_give = {&modules[0]};
  log.type(IRunLog::ERROR);
  log.clear();
  {
    const FailingNew memory(1, FailingNew::THROWING);
    EXPECT_EQ(mm.create_module(out, &factory, nullptr), ec::MM_FACTORY_FAILED);
    EXPECT_TRUE(memory.has_failed());
  }
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(events, Events{"init f"});
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "通过工厂创建模块失败:factory=0x" + hex(&factory))});
  EXPECT_EQ(mm.create_module(out, &factory, nullptr), ec::MM_OK);
}

// Traces

TEST_F(ModuleManage, TracesAreOpenedByTheOperationsThatHaveOne) {
  const auto call = record(IRunLog::TRACE, "Call: ");
  const auto ret = record(IRunLog::TRACE, "Ret: ");
  log.type(IRunLog::TRACE);
  const std::vector once{call, ret};
  const std::vector nested{call, call, ret, ret};
  const std::vector<fwbase::test::Record> none;
  const auto expect_trace = [&](const std::vector<fwbase::test::Record>& expected,
                                const std::function<void()>& operation, const char* name) {
    log.clear();
    operation();
    EXPECT_EQ(log.records(), expected) << name;
  };
  expect_trace(
      once, [&] { mm.init(); }, "init");
  expect_trace(
      none, [&] { create_factory(); }, "create by function");
  expect_trace(
      nested, [&] { create_by_factory(modules[0]); }, "create by factory");
  expect_trace(
      once, [&] { mm.create_module(out, nullptr, "f", nullptr); }, "create by path");
  expect_trace(
      once, [&] { mm.get_module_factory(&modules[0]); }, "get_module_factory");
  expect_trace(
      once, [&] { mm.is_valid(&modules[0]); }, "is_valid, by the test itself");
  expect_trace(
      nested, [&] { mm.destroy_module(&modules[0]); }, "destroy, with its factory's test");
  expect_trace(
      once, [&] { mm.destroy_module(&factory); }, "destroy");
  expect_trace(
      once, [&] { mm.create_mid(1, &modules[0]); }, "create_mid");
  expect_trace(
      none, [&] { mm.auto_create_mid(&modules[0]); }, "auto_create_mid");
  expect_trace(
      once, [&] { mm.query_mid(1); }, "query_mid");
  expect_trace(
      once, [&] { mm.destroy_mid(1); }, "destroy_mid");
  expect_trace(
      once, [&] { mm.release(); }, "release");
}

// Threads

TEST_F(ModuleManage, EightThreadsCreateLookUpAndDestroyModules) {
  struct Quiet : IMM::IBase {
    ec::EC init(void*) override { return ec::MM_OK; }
    void release() override { delete this; }
  };
  struct QuietFactory : IMM::IFactory {
    ec::EC init(void*) override { return ec::MM_OK; }
    void release() override {}
    IMM::IBase* create() override { return new Quiet; }
    void destroy(IMM::IBase*) override {}
  };
  static QuietFactory shared;  // the fixture releases it
  given = &shared;
  ASSERT_EQ(mm.create_module(out, &give, nullptr), ec::MM_OK);
  log.type(0);
  in_threads(8, [&](int) {
    for (int i = 0; i < 100; ++i) {
      IMM::IBase* direct = nullptr;
      IMM::IBase* made = nullptr;
      EXPECT_EQ(mm.create_module(
                    direct, +[]() -> IMM::IBase* { return new Quiet; }, nullptr),
                ec::MM_OK);
      EXPECT_EQ(mm.create_module(made, &shared, nullptr), ec::MM_OK);
      EXPECT_TRUE(mm.is_valid(direct));
      EXPECT_EQ(mm.get_module_factory(made), &shared);
      const unsigned int id = mm.auto_create_mid(made);
      EXPECT_EQ(mm.query_mid(id), made);
      mm.destroy_mid(id);
      EXPECT_TRUE(mm.destroy_module(made));
      EXPECT_TRUE(mm.destroy_module(direct));
    }
  });
}
