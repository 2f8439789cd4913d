#include <gtest/gtest.h>

#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Texts = std::vector<std::string>;
using Shown = ScriptEngine::Shown;

constexpr auto VT_INT = IScript::VT_INT;

int env;

// A file that declares f() and g(n), with these children of the process.
std::string script(const std::string& children) {
  return "<korvid><template><Func name='f'/><Func name='g'><param tag='n' type='int'/></Func>"
         "</template><Process name=''>" +
         children + "</Process></korvid>";
}

std::string data(const std::string& variables) { return "<Data>" + variables + "</Data>"; }

// A section "s" that calls g() with a number.
std::string section(int number) {
  return "<Exec><section name='s'><g><n>" + std::to_string(number) + "</n></g></section></Exec>";
}

class ScriptReload : public testing::Test {
 protected:
  ScriptReload() {
    engine.expand_syntax(&f);
    engine.expand_syntax(&g);
    for (const char* name : {"x", "y", "z"}) {
      engine.remember(name);
    }
  }

  ec::EC load(const std::string& children) {
    return engine.CScript::load_script(ScriptFile(script(children)).path());
  }
  ec::EC reload(const std::string& text) {
    findings.push_back({});
    return engine.reload_script(ScriptFile(text).path(), &findings);
  }
  ec::EC reload_process(const std::string& children) { return reload(script(children)); }

  LogCapture log;
  HostFunction f{"f"};
  HostFunction g{"g", {VT_INT}};
  ScriptEngine engine;
  std::vector<Finding> findings;
};

TEST_F(ScriptReload, WithNothingLoadedLoads) {
  EXPECT_EQ(reload_process(data("<var name='x' type='int' value='1'/>") + section(1)),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 1"}}));
  EXPECT_EQ(engine.exec_scommad("s", &env), ec::SCRIPT_OK);
  EXPECT_EQ(g.calls(), Texts{"g(1)"});
  EXPECT_TRUE(findings.empty());
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptReload, PutsTheFileInThePlaceOfAllThatWereLoaded) {
  ASSERT_EQ(load(section(1)), ec::SCRIPT_OK);
  const ScriptFile more(
      "<korvid><Process name=''><Exec><section name='more'/></Exec></Process></korvid>");
  ASSERT_EQ(engine.CScript::load_script(more.path()), ec::SCRIPT_OK);
  ASSERT_EQ(reload_process(section(2)), ec::SCRIPT_OK);
  EXPECT_EQ(engine.exec_scommad("s", &env), ec::SCRIPT_OK);
  EXPECT_EQ(g.calls(), Texts{"g(2)"});
  EXPECT_EQ(engine.exec_scommad("more", &env), ec::SCRIPT_E_SECTION);
  EXPECT_EQ(reload_process(section(3)), ec::SCRIPT_OK);
}

TEST_F(ScriptReload, LaterLoadsAddToTheNewFile) {
  ASSERT_EQ(load(section(1)), ec::SCRIPT_OK);
  ASSERT_EQ(reload_process(section(2)), ec::SCRIPT_OK);
  const ScriptFile twice("<korvid><template><Func name='f'/></template></korvid>");
  EXPECT_EQ(engine.CScript::load_script(twice.path()), ec::SCRIPT_FUNC_EXISTS);
}

TEST_F(ScriptReload, AVariableKeepsItsValueWhereItsTypeStays) {
  ASSERT_EQ(load(data("<var name='x' type='int' value='1'/><var name='y' type='int' value='1'/>")),
            ec::SCRIPT_OK);
  engine.set("x", 7);
  ASSERT_EQ(reload_process(data("<var name='x' type='int' value='2'/>"
                                "<var name='y' type='string' value='two'/>"
                                "<var name='z' type='int' value='2'/>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 7"}, {"y", "string two"}, {"z", "int 2"}}));
}

TEST_F(ScriptReload, AVariableThatTheFileNoLongerHasGoes) {
  ASSERT_EQ(load(data("<var name='x' type='int' value='1'/>")), ec::SCRIPT_OK);
  engine.set("x", 7);
  ASSERT_EQ(reload_process(""), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), Shown());
}

TEST_F(ScriptReload, AVariableThatNoFileBroughtStays) {
  engine.set("x", 7);
  ASSERT_EQ(load(""), ec::SCRIPT_OK);
  ASSERT_EQ(reload_process(""), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 7"}}));
}

TEST_F(ScriptReload, AVariableThatTheHostSetBeforeIsOfTheFileFromThenOn) {
  engine.set("x", 7);
  ASSERT_EQ(reload_process(data("<var name='x' type='int' value='1'/>")), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 7"}}));
  ASSERT_EQ(reload_process(""), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), Shown());
}

TEST_F(ScriptReload, AVariableThatTheHostRemovedAndSetAgainIsTheHosts) {
  ASSERT_EQ(load(data("<var name='x' type='int' value='1'/>")), ec::SCRIPT_OK);
  ASSERT_EQ(engine.rm_value("x"), ec::SCRIPT_OK);
  engine.set("x", 7);
  ASSERT_EQ(reload_process(""), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 7"}}));
}

TEST_F(ScriptReload, OfTwoVariablesWithOneNameTheLastCounts) {
  ASSERT_EQ(reload_process(data("<var name='x' type='int' value='1'/>"
                                "<var name='x' type='string' value='two'/>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "string two"}}));
}

TEST_F(ScriptReload, EnvironmentsStay) {
  engine.set_env("x", 7, &env);
  ASSERT_EQ(load(section(1)), ec::SCRIPT_OK);
  ASSERT_EQ(reload_process(section(2)), ec::SCRIPT_OK);
  EXPECT_EQ(engine.env_values(&env), (Shown{{"x", "int 7"}}));
}

TEST_F(ScriptReload, ARunFinishesWhatItBeganWithAndANestedOneIsNew) {
  ASSERT_EQ(load("<Exec><section name='s'><f/><g><n>1</n></g></section></Exec>"), ec::SCRIPT_OK);
  f.set_body([this](const IScript::VValue*, void* of_run, const char*) {
    EXPECT_EQ(reload_process(section(2)), ec::SCRIPT_OK);
    return engine.exec_scommad("s", of_run);
  });
  EXPECT_EQ(engine.exec_scommad("s", &env), ec::SCRIPT_OK);
  EXPECT_EQ(g.calls(), (Texts{"g(2)", "g(1)"}));
}

TEST_F(ScriptReload, SavingWritesTheNewFile) {
  const ScriptFile first(script(data("<var name='x' type='int' value='1'/>")));
  const ScriptFile second(script(data("<var name='x' type='int' value='2'/>")));
  ASSERT_EQ(engine.CScript::load_script(first.path()), ec::SCRIPT_OK);
  engine.set("x", 7);
  ASSERT_EQ(engine.reload_script(second.path(), nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_NE(second.text().find("value=\"7\""), std::string::npos) << second.text();
  EXPECT_NE(first.text().find("value='1'"), std::string::npos) << first.text();
}

TEST_F(ScriptReload, AFunctionRegisteredWithAnotherSignatureIsMinded) {
  ASSERT_EQ(load(section(1)), ec::SCRIPT_OK);
  HostFunction other{"g", {IScript::VT_STRING}};
  ASSERT_TRUE(engine.expand_syntax(&other));
  EXPECT_EQ(reload_process(section(2)), ec::SCRIPT_PARAM_TYPE);
}

TEST_F(ScriptReload, DefaultsAreToldAsLoadingDoes) {
  const std::string text =
      "<korvid><template><Func name='g'><param tag='n' type='int' must='false' defaultval='5'/>"
      "</Func></template><Process name=''><Exec><section name='s'><g/></section></Exec></Process>"
      "</korvid>";
  log.type(IRunLog::DEBUG);
  ASSERT_EQ(reload(text), ec::SCRIPT_OK);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::DEBUG, "没有[n]节点，采用默认值[5]\n")});
  EXPECT_EQ(engine.exec_scommad("s", &env), ec::SCRIPT_OK);
  EXPECT_EQ(g.calls(), Texts{"g(5)"});
}

// --- Failures ---

// What was loaded before each failure, and is there behind it.
class ScriptReloadFailure : public ScriptReload {
 protected:
  ScriptReloadFailure() {
    EXPECT_EQ(engine.CScript::load_script(loaded.path()), ec::SCRIPT_OK);
    engine.set("y", 2);
  }

  void expect_all_as_before() {
    log.clear();
    EXPECT_EQ(engine.values(), (Shown{{"x", "int 1"}, {"y", "int 2"}}));
    EXPECT_EQ(engine.exec_scommad("s", &env), ec::SCRIPT_OK);
    EXPECT_EQ(g.calls(), Texts{"g(1)"});
    EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
    EXPECT_NE(loaded.text().find("name=\"y\""), std::string::npos) << loaded.text();
  }

  const ScriptFile loaded{script(data("<var name='x' type='int' value='1'/>") + section(1))};
};

TEST_F(ScriptReloadFailure, GivesAllFindingsAndTheRecordOfTheFirst) {
  EXPECT_EQ(reload_process(data("<var name='x' type='float' value='2'/>") +
                           "<Exec><section name='s'><h/></section></Exec>"),
            ec::SCRIPT_BAD_PARAM);
  ASSERT_EQ(findings.size(), 2u);
  EXPECT_TRUE(findings[0].error);
  EXPECT_EQ(findings[0].rule, "bad-type");
  EXPECT_EQ(findings[0].code, ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(findings[1].code, ec::SCRIPT_NO_RULE);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "不能识别的参数类型，float\n")});
  expect_all_as_before();
}

TEST_F(ScriptReloadFailure, OfAFileThatIsNotWellFormedIsOneFinding) {
  EXPECT_EQ(reload("<korvid>"), ec::SCRIPT_E_LOAD);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule, "malformed");
  EXPECT_EQ(log.records().size(), 1u);
  expect_all_as_before();
}

TEST_F(ScriptReloadFailure, OfAFileThatIsNotThereIsOneFinding) {
  EXPECT_EQ(engine.reload_script("/nowhere.xml", &findings), ec::SCRIPT_E_LOAD);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule, "unreadable");
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "加载脚本出错, File[/nowhere.xml], Xec[32]\n")});
  expect_all_as_before();
}

TEST_F(ScriptReloadFailure, OfAPathThatIsNullOrEmptyIsOneFinding) {
  for (const char* const path : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(engine.reload_script(path, &findings), ec::SCRIPT_E_PARAM);
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].rule, "unreadable");
    EXPECT_EQ(findings[0].code, ec::SCRIPT_E_PARAM);
    EXPECT_EQ(engine.reload_script(path, nullptr), ec::SCRIPT_E_PARAM);
  }
  EXPECT_EQ(log.records().size(), 4u);
  expect_all_as_before();
}

TEST_F(ScriptReloadFailure, OfMemoryChangesNothing) {
  const ScriptFile next(script(data("<var name='x' type='string' value='two'/>"
                                    "<var name='z' type='int' value='3'/>") +
                               section(2)));
  for (int n = 1;; ++n) {
    log.clear();
    ec::EC result = ec::SCRIPT_OK;
    {
      const FailingNew memory(n, FailingNew::ANY);
      result = engine.reload_script(next.path(), nullptr);
      if (!memory.has_failed()) {
        EXPECT_EQ(result, ec::SCRIPT_OK);
        EXPECT_GT(n, 1) << "nothing was allocated";
        break;
      }
    }
    ASSERT_TRUE(result == ec::SCRIPT_NO_MEMORY || result == ec::SCRIPT_E_LOAD) << result;
    EXPECT_EQ(log.records().size(), 1u) << "allocation " << n;
    EXPECT_EQ(engine.values(), (Shown{{"x", "int 1"}, {"y", "int 2"}}));
  }
  EXPECT_EQ(engine.values(), (Shown{{"x", "string two"}, {"y", "int 2"}, {"z", "int 3"}}));
}

TEST_F(ScriptReload, WarningsComeWithASuccess) {
  EXPECT_EQ(reload("<korvid><Data/><Process name=''/></korvid>"), ec::SCRIPT_OK);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_FALSE(findings[0].error);
}

}  // namespace
