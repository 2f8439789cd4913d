#include "fwbase/cfwbase.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/harness/address_space_limit.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/log_capture.h"

using fwbase::CGlobalEnvImpl;
using fwbase::CModuleManage;
using fwbase::IDataBlockFT;
using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;
using fwbase::test::FailingNew;
using fwbase::test::in_threads;
using fwbase::test::LogCapture;
using fwbase::test::record;

namespace {

void* key(std::uintptr_t number) { return reinterpret_cast<void*>(number); }

/// A module that does what it is told when it is released.
struct Module : IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { on_release(); }

  std::function<void()> on_release = [] {};
};

Module* given = nullptr;

void create_module(IMM* mm, Module& module) {
  IMM::IBase* out = nullptr;
  given = &module;
  ASSERT_EQ(mm->create_module(
                out, +[]() -> IMM::IBase* { return given; }, nullptr),
            ec::MM_OK);
}

/// An object that is not copied and does what it is told when it is released.
struct Object : IGlobalEnv::IObject {
  IObject* clone() const override { return const_cast<Object*>(this); }
  void release() override { on_release(); }

  std::function<void()> on_release = [] {};
};

struct Facade : testing::Test {
  ~Facade() override {
    facade.release();
    facade.release();  // when the first one threw
  }

  IGlobalEnv* create_env(void* for_key) {
    IGlobalEnv* env = nullptr;
    EXPECT_EQ(facade.create_global_env(env, for_key), ec::FW_OK);
    return env;
  }

  IFWBase& facade = *IFWBase::instance();
};

struct RunningFacade : Facade {
  RunningFacade() { EXPECT_EQ(facade.init(), ec::FW_OK); }
};

}  // namespace

// Components

TEST_F(Facade, IsOneObjectForAllThreads) {
  std::vector<IFWBase*> seen(8);
  in_threads(8, [&](int thread) { seen[static_cast<std::size_t>(thread)] = IFWBase::instance(); });
  EXPECT_EQ(std::set<IFWBase*>(seen.begin(), seen.end()), std::set<IFWBase*>{&facade});
}

TEST_F(Facade, ComponentsAreInstalledFromInitToRelease) {
  const auto expect_installed = [&](bool installed) {
    EXPECT_EQ(facade.runlog() != nullptr, installed);
    EXPECT_EQ(facade.global_env() != nullptr, installed);
    EXPECT_EQ(facade.global_env(key(1)) != nullptr, installed);
    EXPECT_EQ(facade.mm() != nullptr, installed);
    EXPECT_EQ(facade.script() != nullptr, installed);
    EXPECT_EQ(facade.db_ft() != nullptr, installed);
  };
  expect_installed(false);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(facade.init(), ec::FW_OK);
    expect_installed(true);
    facade.release();
    expect_installed(false);
  }
}

TEST_F(RunningFacade, ARunLogIsReplacedAndNullRestoresTheBuiltInOne) {
  IRunLog* const built_in = facade.runlog();
  LogCapture replacement;  // installs itself
  EXPECT_EQ(facade.runlog(), &replacement);
  EXPECT_EQ(facade.runlog(nullptr), &replacement);
  EXPECT_EQ(facade.runlog(), built_in);
  EXPECT_EQ(facade.runlog(&replacement), built_in);
}

TEST_F(RunningFacade, EveryRoleIsReplacedAndNullRestoresTheBuiltInOne) {
  CGlobalEnvImpl env(nullptr);
  CModuleManage mm;
  fwbase::CDataBlockFT db_ft;
  IScript* const script = reinterpret_cast<IScript*>(&mm);  // never called
  IGlobalEnv* const built_in_env = facade.global_env();
  IMM* const built_in_mm = facade.mm();
  IScript* const built_in_script = facade.script();
  IDataBlockFT* const built_in_db_ft = facade.db_ft();

  EXPECT_EQ(facade.global_env(&env), built_in_env);
  EXPECT_EQ(facade.mm(&mm), built_in_mm);
  EXPECT_EQ(facade.script(script), built_in_script);
  EXPECT_EQ(facade.db_ft(&db_ft), built_in_db_ft);
  EXPECT_EQ(facade.global_env(), &env);
  EXPECT_EQ(facade.mm(), &mm);
  EXPECT_EQ(facade.script(), script);
  EXPECT_EQ(facade.db_ft(), &db_ft);

  EXPECT_EQ(facade.global_env(static_cast<IGlobalEnv*>(nullptr)), &env);
  EXPECT_EQ(facade.mm(nullptr), &mm);
  EXPECT_EQ(facade.script(nullptr), script);
  EXPECT_EQ(facade.db_ft(nullptr), &db_ft);
  EXPECT_EQ(facade.global_env(), built_in_env);
  EXPECT_EQ(facade.mm(), built_in_mm);
  EXPECT_EQ(facade.script(), built_in_script);
  EXPECT_EQ(facade.db_ft(), built_in_db_ft);
}

TEST_F(RunningFacade, InitDiscardsReplacementsAndReleasesNone) {
  CGlobalEnvImpl env(nullptr);
  env.insert_str("name", "kept");
  CModuleManage mm;
  Module module;
  mm.create_mid(1, &module);
  facade.global_env(&env);
  facade.mm(&mm);
  EXPECT_EQ(facade.init(), ec::FW_OK);
  EXPECT_NE(facade.global_env(), &env);
  EXPECT_NE(facade.mm(), &mm);
  facade.global_env(&env);
  facade.mm(&mm);
  facade.release();
  EXPECT_EQ(facade.global_env(), nullptr);
  EXPECT_EQ(env.get_str("name"), "kept");
  EXPECT_EQ(mm.query_mid(1), &module);
}

#if FWBASE_TEST_CAN_LIMIT_ADDRESS_SPACE
TEST_F(Facade, WhenTheRunLogFailsInitPassesItsCodeOnAndInitialisesNothingElse) {
  // What the others hold would be forgotten by their init().
  facade.global_env(static_cast<IGlobalEnv*>(nullptr));
  facade.mm(nullptr);
  IGlobalEnv* const env = facade.global_env();
  IMM* const mm = facade.mm();
  Module module;
  env->insert_str("name", "kept");
  mm->create_mid(1, &module);
  {
    // Too little for the stack of a thread.
    const fwbase::test::AddressSpaceLimit limit(1u << 20);
    EXPECT_EQ(facade.init(), ec::LOG_THREAD_FAILED);
  }
  EXPECT_EQ(env->get_str("name"), "kept");
  EXPECT_EQ(mm->query_mid(1), &module);
  EXPECT_NE(facade.runlog(), nullptr) << "all are installed";
  EXPECT_EQ(facade.init(), ec::FW_OK);
  EXPECT_EQ(env->get_str("name"), "");
  EXPECT_EQ(mm->query_mid(1), nullptr);
}
#endif

TEST_F(RunningFacade, ReleaseEndsModulesThenEnvironmentsThenTheLog) {
  std::vector<std::string> events;
  IGlobalEnv* const env = facade.global_env();
  Module module;
  module.on_release = [&] { events.push_back("module, " + env->get_str("name")); };
  create_module(facade.mm(), module);
  env->insert_str("name", "with its environment");
  Object object;
  object.on_release = [&] {
    events.push_back("object");
    IRunLog::ms_type_sign = 1;
  };
  env->insert_obj("name", &object);
  facade.release();
  EXPECT_EQ(events, (std::vector<std::string>{"module, with its environment", "object"}));
  EXPECT_EQ(IRunLog::ms_type_sign, 0u) << "the run log was released after the environment";
}

// Keyed environments

TEST_F(RunningFacade, ReleaseEndsTheScriptEngineBeforeTheEnvironment) {
  LogCapture log;
  int unknown = 0;
  facade.script()->set_value_env("x", static_cast<IScript::VType>(7), &unknown, &unknown);
  Object object;
  std::vector<fwbase::test::Record> logged;  // until the object is released
  object.on_release = [&] { logged = log.records(); };
  facade.global_env()->insert_obj("name", &object);
  log.clear();
  facade.release();
  EXPECT_EQ(logged, std::vector{record(IRunLog::ERROR, "错误的类型，0x7")});
}

TEST_F(RunningFacade, AnUnknownKeyGivesTheDefaultEnvironment) {
  EXPECT_EQ(facade.global_env(key(1)), facade.global_env());
  CGlobalEnvImpl env(nullptr);
  facade.global_env(&env);
  EXPECT_EQ(facade.global_env(key(1)), &env);
}

TEST_F(RunningFacade, EveryPointerIsAKeyNullIncluded) {
  IGlobalEnv* const of_null = create_env(nullptr);
  IGlobalEnv* const of_one = create_env(key(1));
  IGlobalEnv* const of_last = create_env(key(UINTPTR_MAX));
  EXPECT_EQ(facade.global_env(key(0)), of_null);
  EXPECT_EQ(facade.global_env(key(1)), of_one);
  EXPECT_EQ(facade.global_env(key(UINTPTR_MAX)), of_last);
  EXPECT_EQ((std::set<IGlobalEnv*>{of_null, of_one, of_last, facade.global_env()}.size()), 4u);
}

TEST_F(RunningFacade, ASecondEnvironmentForAKeyIsRefusedAndTheFirstStays) {
  IGlobalEnv* const first = create_env(key(0xabc));
  first->insert_str("name", "kept");
  LogCapture log;
  IGlobalEnv* env = facade.global_env();
  IGlobalEnv* const before = env;
  EXPECT_EQ(facade.create_global_env(env, key(0xabc)), ec::FW_ENV_EXISTS);
  EXPECT_EQ(env, before);
  EXPECT_EQ(facade.global_env(key(0xabc)), first);
  EXPECT_EQ(first->get_str("name"), "kept");
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "已存在与0xabc相关的环境实例")});
}

TEST_F(RunningFacade, AKeyedEnvironmentSeesTheDefaultOneOfTheMomentItWasMade) {
  CGlobalEnvImpl at_creation(nullptr);
  CGlobalEnvImpl later(nullptr);
  Object object;
  at_creation.insert_str("name", "at creation");
  at_creation.insert_addr("name", &object);
  at_creation.insert_obj("name", &object);
  later.insert_str("name", "later");
  facade.global_env(&at_creation);
  IGlobalEnv* const env = create_env(key(1));
  facade.global_env(&later);
  EXPECT_EQ(env->get_str("name"), "at creation");
  EXPECT_EQ(env->get_addr("name"), &object);
  IGlobalEnv::IObject* copy = nullptr;
  EXPECT_EQ(env->get_obj("name", &copy), ec::GENV_OK);
  EXPECT_EQ(copy, &object);
}

TEST_F(RunningFacade, ADestroyedEnvironmentIsReleasedAndItsKeyFree) {
  int released = 0;
  Object object;
  object.on_release = [&] { ++released; };
  create_env(key(1))->insert_obj("name", &object);
  facade.destroy_global_env(key(1));
  EXPECT_EQ(released, 1);
  EXPECT_EQ(facade.global_env(key(1)), facade.global_env());
  facade.destroy_global_env(key(1));
  EXPECT_EQ(released, 1);
  create_env(key(1));
}

TEST_F(RunningFacade, ObjectsOfADestroyedEnvironmentMayCallTheFacade) {
  Object object;
  object.on_release = [&] {
    create_env(key(2));
    facade.destroy_global_env(key(2));
    facade.mm(facade.mm());
  };
  create_env(key(1))->insert_obj("name", &object);
  facade.destroy_global_env(key(1));
  EXPECT_EQ(facade.global_env(key(1)), facade.global_env());
}

TEST_F(RunningFacade, ReleaseEndsKeyedEnvironmentsInTheOrderOfTheirKeysWithNothingInstalled) {
  std::vector<int> order;
  Object objects[3];
  for (const int number : {2, 1, 3}) {
    Object& object = objects[number - 1];
    object.on_release = [&order, number, this] {
      order.push_back(number);
      // Getters are safe although release() holds the facade's lock.
      EXPECT_EQ(facade.runlog(), nullptr);
      EXPECT_EQ(facade.global_env(), nullptr);
      EXPECT_EQ(facade.mm(), nullptr);
      EXPECT_EQ(facade.script(), nullptr);
      EXPECT_EQ(facade.db_ft(), nullptr);
    };
    create_env(key(static_cast<std::uintptr_t>(number)))->insert_obj("name", &object);
  }
  facade.release();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(facade.global_env(key(1)), nullptr);
}

TEST_F(RunningFacade, InitLeavesKeyedEnvironmentsInPlace) {
  IGlobalEnv* const env = create_env(key(1));
  env->insert_str("name", "kept");
  EXPECT_EQ(facade.init(), ec::FW_OK);
  EXPECT_EQ(facade.global_env(key(1)), env);
  EXPECT_EQ(env->get_str("name"), "kept");
}

TEST_F(RunningFacade, WithoutMemoryNoEnvironmentIsMade) {
  LogCapture log;
  IGlobalEnv* env = nullptr;
  for (const FailingNew::Form form : {FailingNew::NOTHROW, FailingNew::THROWING}) {
    log.clear();
    const FailingNew memory(1, form);
    EXPECT_EQ(facade.create_global_env(env, key(0xabc)), ec::FW_NO_MEMORY);
    EXPECT_TRUE(memory.has_failed());
    EXPECT_EQ(env, nullptr);
    EXPECT_EQ(log.records(),
              std::vector{record(IRunLog::ERROR, "创建CGlobalEnvImpl失败.相关key=0xabc")});
    EXPECT_EQ(facade.global_env(key(0xabc)), facade.global_env());
  }
}

// Host code that throws

TEST_F(RunningFacade, ReleaseGoesOnAfterAModuleThatThrewWhenItIsCalledAgain) {
  int released = 0;
  int objects_released = 0;
  Module module;
  module.on_release = [&] {
    ++released;
    throw std::runtime_error("release");
  };
  create_module(facade.mm(), module);
  Object object;
  object.on_release = [&] { ++objects_released; };
  facade.global_env()->insert_obj("name", &object);
  create_env(key(1))->insert_obj("name", &object);
  EXPECT_THROW(facade.release(), std::runtime_error);
  EXPECT_EQ(objects_released, 0);
  EXPECT_NE(facade.runlog(), nullptr) << "what follows is as it was";
  facade.release();
  EXPECT_EQ(released, 1);
  EXPECT_EQ(objects_released, 2);
  EXPECT_EQ(facade.runlog(), nullptr);
  EXPECT_EQ(facade.init(), ec::FW_OK);
}

TEST_F(RunningFacade, ReleaseGoesOnAfterAnObjectThatThrewWhenItIsCalledAgain) {
  std::vector<std::string> events;
  Object objects[4];
  for (Object& object : objects) {
    object.on_release = [&events, &object, &objects] {
      events.push_back(std::to_string(&object - objects));
      if (&object == &objects[1]) {
        throw std::runtime_error("release");
      }
    };
  }
  create_env(key(1))->insert_obj("name", &objects[0]);
  IGlobalEnv* const throwing = create_env(key(2));
  throwing->insert_obj("1", &objects[1]);
  throwing->insert_obj("2", &objects[2]);
  create_env(key(3))->insert_obj("name", &objects[3]);
  EXPECT_THROW(facade.release(), std::runtime_error);
  EXPECT_EQ(events, (std::vector<std::string>{"0", "1", "2"}));
  facade.release();
  EXPECT_EQ(events, (std::vector<std::string>{"0", "1", "2", "3"}));
  facade.release();
  EXPECT_EQ(events.size(), 4u);
  EXPECT_EQ(facade.init(), ec::FW_OK);
  EXPECT_EQ(facade.global_env(key(2)), facade.global_env());
}

TEST_F(RunningFacade, AnEnvironmentWhoseObjectThrowsIsDestroyedAllTheSame) {
  int released = 0;
  Object throwing;
  Object quiet;
  throwing.on_release = [&] { throw std::runtime_error("release"); };
  quiet.on_release = [&] { ++released; };
  IGlobalEnv* const env = create_env(key(1));
  env->insert_obj("1", &throwing);
  env->insert_obj("2", &quiet);
  EXPECT_THROW(facade.destroy_global_env(key(1)), std::runtime_error);
  EXPECT_EQ(released, 1);
  EXPECT_EQ(facade.global_env(key(1)), facade.global_env());
  create_env(key(1));
}

// Process and threads

TEST_F(Facade, TheEndOfTheProcessReleasesNothing) {
  EXPECT_EXIT(
      {
        facade.init();
        static Object object;
        object.on_release = [] { _exit(7); };
        static Module module;
        module.on_release = [] { _exit(8); };
        create_env(key(1))->insert_obj("name", &object);
        facade.global_env()->insert_obj("name", &object);
        create_module(facade.mm(), module);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(RunningFacade, EightThreadsCreateLookUpAndDestroyEnvironments) {
  facade.global_env()->insert_str("name", "default");
  in_threads(8, [&](int thread) {
    const auto own_key = key(static_cast<std::uintptr_t>(thread) + 1);
    for (int i = 0; i < 100; ++i) {
      IGlobalEnv* env = nullptr;
      IGlobalEnv* refused = nullptr;
      EXPECT_EQ(facade.create_global_env(env, own_key), ec::FW_OK);
      EXPECT_EQ(facade.create_global_env(refused, own_key), ec::FW_ENV_EXISTS);
      EXPECT_EQ(facade.global_env(own_key), env);
      EXPECT_EQ(env->get_str("name"), "default");
      facade.destroy_global_env(own_key);
      EXPECT_EQ(facade.global_env(own_key), facade.global_env());
    }
  });
}

TEST_F(RunningFacade, ComponentsAreReplacedWhileThreadsAskForThem) {
  CGlobalEnvImpl other(nullptr);
  std::set<IGlobalEnv*> expected{&other, facade.global_env()};
  std::atomic<int> wrong{0};
  in_threads(8, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      if (thread % 4 == 0) {
        facade.global_env(i % 2 == 0 ? &other : static_cast<IGlobalEnv*>(nullptr));
      } else if (expected.count(facade.global_env()) == 0 ||
                 expected.count(facade.global_env(key(1))) == 0) {
        ++wrong;
      }
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(Facade, ThreadsLogAndUseEnvironmentsWhileTheFacadeIsReleased) {
  // They ask for the run log, holding an environment's lock that release() waits for.
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(facade.init(), ec::FW_OK);
    IGlobalEnv* const env = facade.global_env();
    IRunLog::ms_type_sign = IRunLog::ERROR;
    in_threads(8, [&](int thread) {
      if (thread == 0) {
        facade.release();
      } else {
        for (int i = 0; i < 50; ++i) {
          const char* text = nullptr;
          EXPECT_EQ(env->get_str("missing", text), ec::GENV_STR_NOT_FOUND);
        }
      }
    });
  }
}
