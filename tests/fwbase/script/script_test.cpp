#include "fwbase/script/script.h"

#include <gtest/gtest.h>

#include <barrier>
#include <xercesc/util/PlatformUtils.hpp>

#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/vtable_slot.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Texts = std::vector<std::string>;
using xercesc::XMLPlatformUtils;

bool platform_is_initialised() { return XMLPlatformUtils::fgMemoryManager != nullptr; }

constexpr const char* kScript =
    "<korvid><template><Func name='f'><param tag='s' type='string'/></Func></template>"
    "<Process name=''><Data><var name='x' type='int' value='1'/></Data>"
    "<Exec><section name='s'><f><s>text</s></f></section></Exec></Process></korvid>";

TEST(Script, CallsComeBehindTheOperationsOfTheInterfaceAndItsDestructor) {
  EXPECT_EQ(slot_of(&CScript::Call_Fun), 14u);
}

TEST(Script, InitAndReleaseAreTraced) {
  LogCapture log(IRunLog::TRACE);
  CScript engine;
  EXPECT_EQ(engine.init(), ec::SCRIPT_OK);
  const std::vector<Record> traced{record(IRunLog::TRACE, "Call: "),
                                   record(IRunLog::TRACE, "Ret: ")};
  EXPECT_EQ(log.records(), traced);
  EXPECT_NE(log.records()[0].location.find("CScript::init()"), std::string::npos);
  log.clear();
  engine.release();
  EXPECT_EQ(log.records(), traced);
  EXPECT_NE(log.records()[0].location.find("CScript::release()"), std::string::npos);
}

TEST(Script, ReleaseEmptiesEverything) {
  LogCapture log;
  ScriptEngine engine;
  HostFunction f("f", {IScript::VT_STRING});
  int env = 0;
  engine.expand_syntax(&f);
  const ScriptFile file(kScript);
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("y", "text");
  engine.set_env("z", 1, &env);
  engine.release();
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_E_SECTION);
  EXPECT_TRUE(engine.values().empty());
  EXPECT_EQ(engine.env_values(&env), (ScriptEngine::Shown{{"no", "table"}}));
  EXPECT_TRUE(log.records().empty());
  // The path is forgotten, so nothing can be saved.
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_E_SAVE);
  EXPECT_EQ(file.text(), kScript);
}

TEST(Script, WhatWasModifiedStaysModified) {
  ScriptEngine engine;
  engine.set("x", 1);
  engine.release();
  engine.init();
  EXPECT_TRUE(engine.modified());
}

TEST(Script, ReleaseTellsOfValuesOfAnUnknownType) {
  LogCapture log;
  ScriptEngine engine;
  int env = 0;
  engine.set_value_env("x", kUnknownType, &env, &env);
  engine.release();
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "错误的类型，0x7")});
}

TEST(Script, ReleaseTellsOfThemByEnvironmentAndName) {
  LogCapture log;
  ScriptEngine engine;
  char envs[3] = {};
  std::vector<Record> expected;
  for (int type = 2; type < 8; ++type) {
    expected.push_back(record(IRunLog::ERROR, "错误的类型，0x" + std::to_string(type)));
  }
  const struct {
    const char* name;
    int env;
    int type;
  } kVariables[] = {{"b", 2, 7}, {"c", 0, 4}, {"a", 1, 5}, {"b", 0, 3}, {"", 0, 2}, {"a", 2, 6}};
  for (const auto& one : kVariables) {
    engine.set_value_env(one.name, static_cast<IScript::VType>(one.type), envs, &envs[one.env]);
  }
  engine.release();
  EXPECT_EQ(log.records(), expected);
}

TEST(Script, InitEmptiesTheFunctionsOnly) {
  ScriptEngine engine;
  HostFunction f("f", {IScript::VT_STRING});
  engine.expand_syntax(&f);
  ASSERT_EQ(engine.load_text(kScript), ec::SCRIPT_OK);
  EXPECT_EQ(engine.init(), ec::SCRIPT_OK);
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_NO_FUNC);
  EXPECT_EQ(engine.load_text("<korvid><Process name=''><Exec><section name='t'><f><s/></f>"
                             "</section></Exec></Process></korvid>"),
            ec::SCRIPT_OK);  // the signature is still known
  EXPECT_EQ(engine.values(), (ScriptEngine::Shown{{"x", "int 1"}}));
}

TEST(Script, ADocumentDoesNotOutliveInit) {
  LogCapture log;
  ScriptEngine engine;
  ASSERT_EQ(engine.load_text("<korvid><Process name=''/></korvid>"), ec::SCRIPT_OK);
  engine.set("x", 1);
  engine.init();
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_E_FORMAT);
}

TEST(Script, ThePlatformIsInitialisedOnceAndTerminatedOnce) {
  CScript engine;
  engine.release();
  EXPECT_FALSE(platform_is_initialised());
  engine.init();
  engine.init();
  EXPECT_TRUE(platform_is_initialised());
  engine.release();
  EXPECT_FALSE(platform_is_initialised());
  engine.release();
  EXPECT_FALSE(platform_is_initialised());
  engine.init();
  EXPECT_TRUE(platform_is_initialised());
  engine.release();
  EXPECT_FALSE(platform_is_initialised());
}

TEST(Script, AHostsOwnUseOfThePlatformGoesOn) {
  XMLPlatformUtils::Initialize();
  CScript engine;
  engine.release();
  engine.init();
  engine.init();
  engine.release();
  engine.release();
  EXPECT_TRUE(platform_is_initialised());
  XMLPlatformUtils::Terminate();
  EXPECT_FALSE(platform_is_initialised());
}

// Threads. The function sees its own environment's variable at every call, whatever else runs.

constexpr const char* kThreadScript =
    "<korvid><template><Func name='check'><param tag='n' type='int'/><param tag='s' type='string'/>"
    "</Func></template><Process name=''><Data><var name='g' type='int' value='0'/></Data><Exec>"
    "<section name='s'><check><params><n><ref>n</ref></n><s><ref>s</ref></s></params>"
    "<params><n><ref>n</ref></n><s><ref>s</ref></s><ret>r</ret></params></check></section>"
    "</Exec></Process></korvid>";

// Checks that both arguments belong to the environment, and stores a result in it.
struct Check : HostFunction {
  explicit Check(CScript& script)
      : HostFunction("check", {IScript::VT_INT, IScript::VT_STRING}), engine(script) {}
  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    const int own = *static_cast<int*>(env);
    if (args[0].int_value != own || args[1].string_value != std::to_string(own)) {
      return 0;
    }
    const std::string text = std::to_string(own);
    engine.set_value("g", IScript::VT_STRING, &text);
    return ret != nullptr ? engine.set_value_env(ret, IScript::VT_STRING, &text, env)
                          : ec::SCRIPT_OK;
  }
  CScript& engine;
};

constexpr int kThreads = 8;
constexpr int kRounds = 5;
constexpr int kRuns = 20;

void run_sections(ScriptEngine& engine, int& env) {
  for (int i = 0; i < kRuns; ++i) {
    EXPECT_EQ(engine.set_env("n", env, &env), ec::SCRIPT_OK);
    EXPECT_EQ(engine.set_env("s", std::to_string(env), &env), ec::SCRIPT_OK);
    EXPECT_EQ(engine.exec_scommad("s", &env), ec::SCRIPT_OK);
    std::string result;
    EXPECT_EQ(engine.get_value_env("r", IScript::VT_STRING, &result, &env), ec::SCRIPT_OK);
    EXPECT_EQ(result, std::to_string(env));
    EXPECT_EQ(engine.get_value("g", IScript::VT_STRING, &result), ec::SCRIPT_OK);
  }
}

TEST(ScriptThreads, ShareValuesAndSectionsWhileScriptsComeAndGo) {
  ScriptEngine engine;
  Check check(engine);
  const ScriptFile file(kThreadScript);
  int envs[kThreads] = {};
  std::barrier<> round(kThreads);
  in_threads(kThreads, [&](int thread) {
    envs[thread] = thread + 1;
    for (int i = 0; i < kRounds; ++i) {
      if (thread == 0) {
        engine.release();
        engine.init();
        EXPECT_TRUE(engine.expand_syntax(&check));
        EXPECT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
      }
      round.arrive_and_wait();
      run_sections(engine, envs[thread]);
      if (thread % 2 == 0) {
        EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
      }
      round.arrive_and_wait();
    }
  });
}

TEST(ScriptThreads, RunsEndSafelyWhenTheHostReleasesTheEngineAllTheSame) {
  ScriptEngine engine;
  Check check(engine);
  const ScriptFile file(kThreadScript);
  int envs[kThreads] = {};
  in_threads(kThreads, [&](int thread) {
    envs[thread] = thread + 1;
    for (int i = 0; i < kRuns; ++i) {
      if (thread == 0) {
        engine.release();
        engine.init();
        engine.expand_syntax(&check);
        EXPECT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
      } else {
        engine.set_env("n", envs[thread], &envs[thread]);
        engine.exec_scommad("s", &envs[thread]);
        engine.rm_value("g");
        engine.save_script();
      }
    }
  });
  EXPECT_EQ(engine.calls("s").size(), 2u);
}

}  // namespace
