#include <gtest/gtest.h>

#include <barrier>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Texts = std::vector<std::string>;

constexpr auto VT_INT = IScript::VT_INT;
constexpr auto VT_STRING = IScript::VT_STRING;

int env_a;
int env_b;

// A script that declares none(), one(n), text(s), both(n, s), and holds the sections given.
std::string script(const std::string& sections) {
  return "<korvid><template>"
         "<Func name='none'/>"
         "<Func name='other'/>"
         "<Func name='one'><param tag='n' type='int'/></Func>"
         "<Func name='text'><param tag='s' type='string'/></Func>"
         "<Func name='both'><param tag='n' type='int'/><param tag='s' type='string'/></Func>"
         "</template><Process name=''><Exec>" +
         sections + "</Exec></Process></korvid>";
}

class ScriptExec : public testing::Test {
 protected:
  ScriptExec() {
    for (HostFunction* function : {&none, &other, &one, &text, &both}) {
      engine.expand_syntax(function);
    }
  }

  void load(const std::string& sections) {
    ASSERT_EQ(engine.load_text(script(sections)), ec::SCRIPT_OK);
    log.clear();
  }

  LogCapture log;
  HostFunction none{"none"};
  HostFunction other{"other"};
  HostFunction one{"one", {VT_INT}};
  HostFunction text{"text", {VT_STRING}};
  HostFunction both{"both", {VT_INT, VT_STRING}};
  ScriptEngine engine;
};

TEST_F(ScriptExec, AnUnknownSectionIsRefusedSilentlyAndLeavesNoEnvironment) {
  EXPECT_EQ(engine.exec_scommad("never loaded", &env_a), ec::SCRIPT_E_SECTION);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptExec, ANullSectionIsABadArgument) {
  EXPECT_EQ(engine.exec_scommad(nullptr, &env_a), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "param is error: vname=0")});
}

TEST_F(ScriptExec, AnEmptySectionSucceedsWithoutACall) {
  load("<section name='s'/>");
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
}

TEST_F(ScriptExec, CallsGetTheirLiteralsInOrder) {
  load(
      "<section name='s'><both><n>-5</n><s>a b</s></both><one><n>7</n></one>"
      "<both><s/><n>1</n></both></section>");
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(both.calls(), (Texts{"both(-5,'a b')", "both(1,'')"}));
  EXPECT_EQ(one.calls(), Texts{"one(7)"});
}

TEST_F(ScriptExec, TheRestOfAnIntSlotIsZero) {
  load("<section name='s'><one><n>-1</n></one></section>");
  std::uint64_t bytes = 0;
  one.set_body([&](const IScript::VValue* args, void*, const char*) {
    std::memcpy(&bytes, args, sizeof bytes);
    return ec::SCRIPT_OK;
  });
  ASSERT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(sizeof(IScript::VValue), 8u);
  const std::int32_t parts[2] = {-1, 0};
  EXPECT_EQ(std::memcmp(&bytes, parts, sizeof bytes), 0);
}

TEST_F(ScriptExec, ReferencesTakeTheValueThatTheVariableHasAtEachRun) {
  load("<section name='s'><both><n><ref>i</ref></n><s><ref>t</ref></s></both></section>");
  engine.set_env("i", 1, &env_a);
  engine.set_env("t", "first", &env_a);
  engine.set_env("i", 2, &env_b);
  engine.set_env("t", "other environment", &env_b);
  engine.exec_scommad("s", &env_a);
  engine.exec_scommad("s", &env_b);
  engine.set_env("t", "changed", &env_a);
  engine.exec_scommad("s", &env_a);
  EXPECT_EQ(both.calls(),
            (Texts{"both(1,'first')", "both(2,'other environment')", "both(1,'changed')"}));
  EXPECT_EQ(both.envs(), (std::vector<void*>{&env_a, &env_b, &env_a}));
}

TEST_F(ScriptExec, AReferenceFollowsAVariableThatChangesItsType) {
  load("<section name='s'><one><n><ref>i</ref></n></one></section>");
  engine.set_env("i", 1, &env_a);
  engine.exec_scommad("s", &env_a);
  engine.set_env("i", "text", &env_a);
  engine.exec_scommad("s", &env_a);
  engine.set_env("i", 2, &env_a);
  engine.exec_scommad("s", &env_a);
  EXPECT_EQ(one.calls(), (Texts{"one(1)", "one(0)", "one(2)"}));
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "变量:(i)类型不匹配")});
}

TEST_F(ScriptExec, AVariableThatARunMissedIsFoundOnceItIsSet) {
  load("<section name='s'><one><n><ref>i</ref></n></one></section>");
  engine.set_env("i", 1, &env_b);
  engine.exec_scommad("s", &env_b);
  engine.exec_scommad("s", &env_a);
  engine.exec_scommad("s", &env_b);
  engine.set_env("i", 2, &env_a);
  engine.exec_scommad("s", &env_a);
  EXPECT_EQ(one.calls(), (Texts{"one(1)", "one(0)", "one(1)", "one(2)"}));
}

TEST_F(ScriptExec, CallsOfVeryDifferentSizesGetTheirOwnArguments) {
  const std::string large(10000, 'x');
  load("<section name='s'><text><s>a</s><ret>r</ret></text><text><s>" + large +
       "</s></text><none/><both><n>7</n><s>b</s></both></section>");
  ASSERT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(text.calls(), (Texts{"text('a')->r", "text('" + large + "')"}));
  EXPECT_EQ(both.calls(), Texts{"both(7,'b')"});
}

TEST_F(ScriptExec, AMissingVariableIsZeroOrEmptyEvenIfAGlobalOneExists) {
  load("<section name='s'><both><n><ref>i</ref></n><s><ref>t</ref></s></both></section>");
  engine.set("i", 5);
  engine.set("t", "global");
  engine.set_env("unrelated", 1, &env_a);
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(both.calls(), Texts{"both(0,'')"});
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "没有对应的变量,name[i]\n"),
                                        record(IRunLog::ERROR, "没有对应的变量,name[t]\n")}));
}

TEST_F(ScriptExec, AVariableOfAnotherTypeIsZeroOrEmpty) {
  load("<section name='s'><both><n><ref>t</ref></n><s><ref>i</ref></s></both></section>");
  engine.set_env("i", 5, &env_a);
  engine.set_env("t", "text", &env_a);
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(both.calls(), Texts{"both(0,'')"});
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "变量:(t)类型不匹配"),
                                        record(IRunLog::ERROR, "变量:(i)类型不匹配")}));
}

TEST_F(ScriptExec, AnEnvironmentWithoutTableGivesZeroAndEmpty) {
  load("<section name='s'><one><n><ref>i</ref></n></one></section>");
  void* const env = reinterpret_cast<void*>(0x1234);
  EXPECT_EQ(engine.exec_scommad("s", env), ec::SCRIPT_OK);
  EXPECT_EQ(one.calls(), Texts{"one(0)"});
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "没有改环境对应的符号表, env[0x1234]")});
}

TEST_F(ScriptExec, WithoutRetNullIsPassedElseTheName) {
  load("<section name='s'><none/><none><ret>result</ret></none></section>");
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(none.calls(), (Texts{"none()", "none()->result"}));
}

TEST_F(ScriptExec, AFunctionMayStoreItsResultForLaterCalls) {
  load(
      "<section name='s'><one><n>20</n><ret>twice</ret></one>"
      "<text><s><ref>twice</ref></s></text></section>");
  one.set_body([&](const IScript::VValue* args, void* env, const char* ret) {
    return engine.set_env(ret, std::to_string(2 * args[0].int_value), env);
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(text.calls(), Texts{"text('40')"});
}

TEST_F(ScriptExec, StopsAtTheFirstFailingCall) {
  load("<section name='s'><none/><one><n>1</n></one><none/></section>");
  one.set_body([](const IScript::VValue*, void*, const char*) { return ec::EC{0}; });
  EXPECT_EQ(engine.exec_scommad("s", nullptr), 0u);
  EXPECT_EQ(none.calls().size(), 1u);
  EXPECT_EQ(engine.states("s"), (std::vector{1, 2, 0}));
  one.set_body({});
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(engine.states("s"), (std::vector{1, 1, 1}));
  one.set_body([](const IScript::VValue*, void*, const char*) { return ec::EC{0x7FFFFFFF}; });
  EXPECT_EQ(engine.exec_scommad("s", nullptr), 0x7FFFFFFFu);
  EXPECT_EQ(engine.states("s"), (std::vector{1, 2, 1}));
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptExec, TheResultIsTheLastCallsUnchanged) {
  load("<section name='s'><none/><other/></section>");
  other.set_body([](const IScript::VValue*, void*, const char*) { return ec::EC{0x80001234}; });
  EXPECT_EQ(engine.exec_scommad("s", nullptr), 0x80001234u);
}

TEST_F(ScriptExec, CallsGoToTheObjectRegisteredLast) {
  load("<section name='s'><none/></section>");
  HostFunction later("none");
  engine.expand_syntax(&later);
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_TRUE(none.calls().empty());
  EXPECT_EQ(later.calls(), Texts{"none()"});
}

TEST_F(ScriptExec, InitForgetsTheFunctionsOfLoadedSections) {
  load("<section name='s'><none/></section>");
  engine.init();
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_NO_FUNC);
}

TEST_F(ScriptExec, AnObjectWhoseNameBecomesNullIsPassedOver) {
  struct Nameless : HostFunction {
    using HostFunction::HostFunction;
    const char* name() override { return gone ? nullptr : HostFunction::name(); }
    bool gone = false;
  } nameless("none");
  load("<section name='s'><none/></section>");
  engine.expand_syntax(&nameless);
  nameless.gone = true;
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(none.calls().size(), 1u);
}

// A host function that may change its name.
struct Renamed : HostFunction {
  explicit Renamed(const char* first) : HostFunction(first), now(first) {}
  const char* name() override { return now; }
  const char* now;
};

// What a run found must not outlast what the host registers afterwards.

TEST_F(ScriptExec, CallsOfALaterRunGoToTheObjectRegisteredMeanwhile) {
  load("<section name='s'><none/></section>");
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  HostFunction later("none");
  engine.expand_syntax(&later);
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(none.calls().size(), 1u);
  EXPECT_EQ(later.calls().size(), 1u);
}

TEST_F(ScriptExec, CallsOfTheSameRunGoToTheObjectThatAFunctionRegisters) {
  load("<section name='s'><none/><none/><none/></section>");
  HostFunction later("none");
  none.set_body([&](const IScript::VValue*, void*, const char*) {
    return engine.expand_syntax(&later) ? ec::SCRIPT_OK : ec::SCRIPT_NO_MEMORY;
  });
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(none.calls().size(), 1u);
  EXPECT_EQ(later.calls().size(), 2u);
}

TEST_F(ScriptExec, AnObjectThatWasCalledIsPassedOverOnceItsNameIsAnother) {
  load("<section name='s'><none/></section>");
  Renamed renamed("none");
  engine.expand_syntax(&renamed);
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  renamed.now = "another";
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(renamed.calls().size(), 1u);
  EXPECT_EQ(none.calls().size(), 1u);
}

TEST_F(ScriptExec, TheOnlyObjectOfANameMayLoseItAndGetItBack) {
  Renamed renamed("renamed");
  engine.expand_syntax(&renamed);
  const std::string file =
      "<korvid><template><Func name='renamed'/></template><Process name=''><Exec>"
      "<section name='s'><renamed/></section></Exec></Process></korvid>";
  ASSERT_EQ(engine.load_text(file), ec::SCRIPT_OK);
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  renamed.now = nullptr;
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_NO_FUNC);
  EXPECT_EQ(engine.states("s"), std::vector{2});
  renamed.now = "renamed";
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(renamed.calls().size(), 2u);
}

TEST_F(ScriptExec, InitForgetsFunctionsThatWereCalled) {
  load("<section name='s'><none/></section>");
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  engine.init();
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_NO_FUNC);
  HostFunction later("none");
  engine.expand_syntax(&later);
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(none.calls().size(), 1u);
  EXPECT_EQ(later.calls().size(), 1u);
}

TEST_F(ScriptExec, CallFunWithoutANameIsABadArgument) {
  EXPECT_EQ(engine.Call_Fun(nullptr, nullptr, nullptr), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "param is error: vname=0")});
}

TEST_F(ScriptExec, ExecuteDoesNothing) {
  load("<section name='s'><none/></section>");
  EXPECT_EQ(engine.execute(&env_a), ec::SCRIPT_OK);
  EXPECT_TRUE(none.calls().empty());
}

// Out of memory while a call's arguments are made.

class ScriptExecMemory : public ScriptExec {
 protected:
  // Fails each allocation of the run in turn and gives their number.
  int fail_each(FailingNew::Form form) {
    log.type(IRunLog::ERROR);
    for (int n = 1;; ++n) {
      log.clear();
      std::vector<Record> expected;
      ec::EC result;
      {
        FailingNew memory(n, form);
        result = engine.exec_scommad("s", &env_a);
        if (!memory.has_failed()) {
          EXPECT_EQ(result, ec::SCRIPT_OK);
          return n - 1;
        }
      }
      EXPECT_EQ(result, ec::SCRIPT_NO_MEMORY) << "allocation " << n;
      EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "分配内存失败\n")});
    }
  }
};

struct Quiet : HostFunction {
  using HostFunction::HostFunction;
  ec::EC call(const IScript::VValue*, void*, const char*) override {
    ++count;
    return ec::SCRIPT_OK;
  }
  int count = 0;
};

TEST_F(ScriptExecMemory, LiteralsAndNumbersTakeNoMemory) {
  load("<section name='s'><both><n>1</n><s>" + std::string(1000, 's') + "</s><ret>" +
       std::string(100, 'r') + "</ret></both><one><n><ref>i</ref></n></one></section>");
  engine.set_env("i", 5, &env_a);
  Quiet both_quiet("both", {VT_INT, VT_STRING});
  Quiet one_quiet("one", {VT_INT});
  engine.expand_syntax(&both_quiet);
  engine.expand_syntax(&one_quiet);
  EXPECT_EQ(fail_each(FailingNew::ANY), 0);
  EXPECT_EQ(both_quiet.count, 1);
  EXPECT_EQ(one_quiet.count, 1);
}

TEST_F(ScriptExecMemory, ATextOfAVariableWithoutMemoryEndsTheRunBeforeTheCall) {
  load("<section name='s'><text><s><ref>t</ref></s></text></section>");
  engine.set_env("t", std::string(100, 't'), &env_a);
  Quiet quiet("text", {VT_STRING});
  engine.expand_syntax(&quiet);
  EXPECT_GT(fail_each(FailingNew::ANY), 0);
  EXPECT_EQ(quiet.count, 1);
  EXPECT_EQ(engine.states("s"), std::vector{1});
}

TEST_F(ScriptExecMemory, TextsOfVariablesTakeTheMemoryOfTheCallBefore) {
  const std::string call = "<text><s><ref>t</ref></s></text>";
  engine.set_env("t", std::string(100, 't'), &env_a);
  Quiet quiet("text", {VT_STRING});
  engine.expand_syntax(&quiet);
  load("<section name='s'>" + call + "</section>");
  const int for_one = fail_each(FailingNew::ANY);
  engine.release();
  engine.init();
  engine.expand_syntax(&quiet);
  engine.set_env("t", std::string(100, 't'), &env_a);
  load("<section name='s'>" + call + call + call + "</section>");
  EXPECT_EQ(fail_each(FailingNew::ANY), for_one);
}

// Runs side by side.

TEST_F(ScriptExec, ARunTakesNoLockThatExcludesReaders) {
  load("<section name='s'><both><n><ref>i</ref></n><s><ref>t</ref></s></both><none/></section>");
  engine.set_env("i", 1, &env_a);
  engine.set_env("t", "text", &env_a);
  int visited = 0;
  engine.visit_functions([&](const auto&...) {  // the lock is held for reading
    ++visited;
    std::thread([&] {
      EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
      std::int32_t number = 0;
      EXPECT_EQ(engine.get_value_env("i", VT_INT, &number, &env_a), ec::SCRIPT_OK);
    }).join();
  });
  EXPECT_GT(visited, 0);
  EXPECT_EQ(both.calls(), Texts(visited, "both(1,'text')"));
}

TEST_F(ScriptExec, CallsWithoutReferencesNeedNoLockOnceTheirFunctionsAreFound) {
  load("<section name='s'><none/><other/></section>");
  engine.exec_scommad("s", &env_a);
  std::thread writer;
  std::barrier<> meeting(2);
  std::barrier<> done(2);
  none.set_body([&](const IScript::VValue*, void*, const char*) {
    writer = std::thread([&] {
      test::while_written(engine, [&] {
        meeting.arrive_and_wait();
        done.arrive_and_wait();
      });
    });
    meeting.arrive_and_wait();  // the lock is taken for writing: the run goes on
    return ec::SCRIPT_OK;
  });
  other.set_body([&](const IScript::VValue*, void*, const char*) {
    done.arrive_and_wait();
    return ec::SCRIPT_OK;
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  writer.join();
}

TEST_F(ScriptExec, ALoadGoesOnBesideARun) {
  load("<section name='s'><none/><other/></section>");
  none.set_body([&](const IScript::VValue*, void*, const char*) {
    std::thread([&] {
      EXPECT_EQ(engine.load_text("<korvid><Process name=''><Exec><section name='later'><other/>"
                                 "</section></Exec></Process></korvid>"),
                ec::SCRIPT_OK);
      EXPECT_EQ(engine.exec_scommad("later", &env_b), ec::SCRIPT_OK);
    }).join();
    return ec::SCRIPT_OK;
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(other.envs(), (std::vector<void*>{&env_b, &env_a}));
}

TEST_F(ScriptExec, CallFunTakesTheEnvironmentOfTheInnermostRunOfItsEngine) {
  load("<section name='s'><none/></section>");
  ScriptEngine unrelated;
  none.set_body([&](const IScript::VValue*, void*, const char*) {
    EXPECT_EQ(unrelated.exec_scommad("s", &env_b), ec::SCRIPT_E_SECTION);
    return engine.Call_Fun("other", nullptr, "r");
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.Call_Fun("other", nullptr, nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(engine.Call_Fun("unknown", nullptr, nullptr), ec::SCRIPT_NO_FUNC);
  EXPECT_EQ(other.calls(), (Texts{"other()->r", "other()"}));
  EXPECT_EQ(other.envs(), (std::vector<void*>{&env_a, nullptr}));
}

TEST_F(ScriptExec, ManyReferencesOfOneCallGetTheirOwnValues) {
  std::string params;
  std::string arguments;
  std::vector<IScript::VType> types;
  for (int i = 0; i < 100; ++i) {
    const std::string tag = "p" + std::to_string(i);
    const bool is_text = i % 2 == 0;
    types.push_back(is_text ? VT_STRING : VT_INT);
    params += "<param tag='" + tag + "' type='" + (is_text ? "string" : "int") + "'/>";
    arguments += "<" + tag + "><ref>" + tag + "</ref></" + tag + ">";
    if (is_text) {
      engine.set_env(tag, std::string(static_cast<std::size_t>(i), 'x'), &env_a);
    } else {
      engine.set_env(tag, i, &env_a);
    }
  }
  HostFunction many("many", types);
  engine.expand_syntax(&many);
  ASSERT_EQ(engine.load_text("<korvid><template><Func name='many'>" + params +
                             "</Func></template><Process name=''><Exec><section name='s'><many>" +
                             arguments + "</many></section></Exec></Process></korvid>"),
            ec::SCRIPT_OK);
  many.set_body([&](const IScript::VValue* args, void*, const char*) {
    for (int i = 0; i < 100; ++i) {
      if (i % 2 == 0) {
        EXPECT_EQ(args[i].string_value, std::string(static_cast<std::size_t>(i), 'x'));
      } else {
        EXPECT_EQ(args[i].int_value, i);
      }
    }
    return ec::SCRIPT_OK;
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
}

// Host functions that use the engine.

TEST_F(ScriptExec, ANestedRunDoesNotDisturbTheRunThatItInterrupts) {
  load(
      "<section name='outer'><none/><text><s><ref>v</ref></s></text></section>"
      "<section name='inner'><text><s><ref>v</ref></s></text></section>");
  engine.set_env("v", "of a", &env_a);
  engine.set_env("v", "of b", &env_b);
  none.set_body([&](const IScript::VValue*, void*, const char*) {
    return engine.exec_scommad("inner", &env_b);
  });
  EXPECT_EQ(engine.exec_scommad("outer", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(text.calls(), (Texts{"text('of b')", "text('of a')"}));
  EXPECT_EQ(text.envs(), (std::vector<void*>{&env_b, &env_a}));
}

TEST_F(ScriptExec, ASectionMayRunItself) {
  load("<section name='s'><none/><one><n><ref>depth</ref></n></one></section>");
  std::int32_t depth = 0;
  none.set_body([&](const IScript::VValue*, void* env, const char*) {
    engine.set_env("depth", depth, env);
    return ++depth < 3 ? engine.exec_scommad("s", env) : ec::SCRIPT_OK;
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(one.calls(), (Texts{"one(2)", "one(2)", "one(2)"}));
}

TEST_F(ScriptExec, RunsOfTwoThreadsInterleaveAndKeepTheirEnvironments) {
  load(
      "<section name='s'><none/><text><s><ref>v</ref></s></text><none/>"
      "<text><s><ref>v</ref></s></text></section>");
  engine.set_env("v", "of a", &env_a);
  engine.set_env("v", "of b", &env_b);
  struct Meeting : HostFunction {
    using HostFunction::HostFunction;
    ec::EC call(const IScript::VValue*, void*, const char*) override {
      barrier.arrive_and_wait();  // both runs are inside a call here
      return ec::SCRIPT_OK;
    }
    std::barrier<> barrier{2};
  } meeting("none");
  struct Checking : HostFunction {
    using HostFunction::HostFunction;
    ec::EC call(const IScript::VValue* args, void* env, const char*) override {
      return args[0].string_value == std::string(env == &env_a ? "of a" : "of b")
                 ? ec::SCRIPT_OK
                 : ec::SCRIPT_NOT_FOUND;
    }
  } checking("text", {VT_STRING});
  engine.expand_syntax(&meeting);
  engine.expand_syntax(&checking);
  ec::EC of_b = 0;
  std::thread other_run([&] { of_b = engine.exec_scommad("s", &env_b); });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  other_run.join();
  EXPECT_EQ(of_b, ec::SCRIPT_OK);
}

TEST_F(ScriptExec, AnExceptionOfAFunctionReachesTheHostAndTheEngineStaysUsable) {
  load("<section name='s'><other/><both><n>1</n><s>copied</s></both><other/></section>");
  both.set_body([](const IScript::VValue*, void*, const char*) -> ec::EC {
    throw std::runtime_error("from the host");
  });
  EXPECT_THROW(engine.exec_scommad("s", &env_a), std::runtime_error);
  EXPECT_EQ(engine.states("s"), (std::vector{1, 2, 0}));
  EXPECT_EQ(other.calls().size(), 1u);
  // The lock is free: for writing by this thread, for reading by another.
  EXPECT_EQ(engine.set("x", 1), ec::SCRIPT_OK);
  std::thread([&] {
    std::int32_t x = 0;
    EXPECT_EQ(engine.get_value("x", VT_INT, &x), ec::SCRIPT_OK);
  }).join();
  both.set_body({});
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
}

TEST_F(ScriptExec, AFunctionsOwnBadAllocReachesTheHostToo) {
  load("<section name='s'><none/></section>");
  none.set_body(
      [](const IScript::VValue*, void*, const char*) -> ec::EC { throw std::bad_alloc(); });
  EXPECT_THROW(engine.exec_scommad("s", &env_a), std::bad_alloc);
}

TEST_F(ScriptExec, AnExceptionOfANestedRunEndsTheOuterRunToo) {
  load("<section name='outer'><none/></section><section name='inner'><other/></section>");
  none.set_body([&](const IScript::VValue*, void*, const char*) {
    return engine.exec_scommad("inner", &env_b);
  });
  other.set_body([](const IScript::VValue*, void*, const char*) -> ec::EC { throw 5; });
  EXPECT_THROW(engine.exec_scommad("outer", &env_a), int);
  EXPECT_EQ(engine.set("x", 1), ec::SCRIPT_OK);
}

TEST_F(ScriptExec, ARunWhoseEngineIsReleasedEnds) {
  const std::string name(100, 'r');
  load("<section name='s'><both><n>1</n><s>text</s><ret>" + name +
       "</ret></both><none/></section>");
  both.set_body([&](const IScript::VValue* args, void*, const char* ret) {
    engine.release();
    EXPECT_EQ(args[1].string_value, std::string("text"));
    EXPECT_EQ(ret, name);
    return ec::SCRIPT_OK;
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_E_SECTION);
  EXPECT_TRUE(none.calls().empty());
}

TEST_F(ScriptExec, ARunEndsAlsoWhenItsSectionIsLoadedAnewMeanwhile) {
  const std::string sections = "<section name='s'><other/><none/></section>";
  load(sections);
  other.set_body([&](const IScript::VValue*, void*, const char*) {
    engine.release();
    engine.init();
    for (HostFunction* function : {&none, &other, &one, &text, &both}) {
      engine.expand_syntax(function);
    }
    return engine.load_text(script(sections));
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_E_SECTION);
  EXPECT_TRUE(none.calls().empty());
  EXPECT_EQ(engine.states("s"), (std::vector{0, 0}));
}

TEST_F(ScriptExec, AFunctionMayLoadAnotherScript) {
  load("<section name='s'><none/><other/></section>");
  none.set_body([&](const IScript::VValue*, void*, const char*) {
    return engine.load_text(
        "<korvid><Process name=''><Exec><section name='later'><other/>"
        "</section></Exec></Process></korvid>");
  });
  EXPECT_EQ(engine.exec_scommad("s", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.exec_scommad("later", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(other.calls().size(), 2u);
}

}  // namespace
