#include <gtest/gtest.h>

#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/code_page.h"
#include "tests/harness/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Texts = std::vector<std::string>;

constexpr auto VT_INT = IScript::VT_INT;
constexpr auto VT_STRING = IScript::VT_STRING;

class ScriptRules : public testing::Test {
 protected:
  // Loads a file with these template children, which declare functions and nothing calls.
  ec::EC declare(const std::string& funcs) {
    return engine.load_text("<korvid><template>" + funcs +
                            "</template><Process name=''/></korvid>");
  }
  ec::EC declare_param(const std::string& attributes) {
    return declare("<Func name='f'><param " + attributes + "/></Func>");
  }

  // Calls a function from a script that declares it with parameters of these types.
  ec::EC call(const std::string& name, const Texts& types) {
    std::string params;
    std::string arguments;
    for (std::size_t i = 0; i < types.size(); ++i) {
      const std::string tag = "p" + std::to_string(i);
      params += "<param tag='" + tag + "' type='" + types[i] + "'/>";
      arguments += "<" + tag + ">1</" + tag + ">";
    }
    const ec::EC loaded =
        engine.load_text("<korvid><template><Func name='" + name + "'>" + params +
                         "</Func></template><Process name=''><Exec><section name='s'><" + name +
                         ">" + arguments + "</" + name + "></section></Exec></Process></korvid>");
    return ec::failed(loaded) ? loaded : engine.exec_scommad("s", nullptr);
  }

  LogCapture log;
  ScriptEngine engine;
};

// Host signatures.

TEST_F(ScriptRules, ExpandSyntaxKeepsSignatureAndObject) {
  HostFunction f("f", {VT_INT, VT_STRING});
  EXPECT_TRUE(engine.expand_syntax(&f));
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(call("f", {"int", "string"}), ec::SCRIPT_OK);
  EXPECT_EQ(f.calls().size(), 1u);
}

TEST_F(ScriptRules, ExpandSyntaxOfNullChangesNothing) {
  EXPECT_FALSE(engine.expand_syntax(nullptr));
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "param is error: psyx=0")});
  EXPECT_EQ(call("f", {}), ec::SCRIPT_NO_RULE);
}

TEST_F(ScriptRules, ASecondObjectOfANameReplacesTheSignatureOnly) {
  HostFunction first("f", {VT_INT});
  HostFunction second("f", {VT_STRING, VT_STRING});
  EXPECT_TRUE(engine.expand_syntax(&first));
  EXPECT_TRUE(engine.expand_syntax(&second));
  EXPECT_TRUE(engine.expand_syntax(&second));
  EXPECT_EQ(call("f", {"string", "string"}), ec::SCRIPT_OK);
  EXPECT_TRUE(first.calls().empty());
  EXPECT_EQ(second.calls().size(), 1u);
}

TEST_F(ScriptRules, TheObjectIsAskedForCountTypesAndNameInThisOrder) {
  struct Asked : HostFunction {
    using HostFunction::HostFunction;
    int param_count() override { return order += "count ", HostFunction::param_count(); }
    IScript::VType* param_types() override {
      return order += "types ", HostFunction::param_types();
    }
    const char* name() override { return order += "name", HostFunction::name(); }
    std::string order;
  } asked("f", {VT_INT});
  EXPECT_TRUE(engine.CScript::expand_syntax(&asked));
  EXPECT_EQ(asked.order, "count types name");
}

struct Odd : IScript::ISyntax {
  const char* name() override { return m_name; }
  IScript::VType* param_types() override { return m_types; }
  int param_count() override { return m_count; }
  ec::EC call(const IScript::VValue*, void*, const char*) override { return ec::SCRIPT_OK; }
  const char* m_name = "odd";
  IScript::VType* m_types = nullptr;
  int m_count = 0;
};

TEST_F(ScriptRules, ObjectsWithoutNameOrTypesAreRefused) {
  Odd nameless;
  nameless.m_name = nullptr;
  EXPECT_FALSE(engine.expand_syntax(&nameless));
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "param is error: vname=0x0, pdata=0x0\n")});
  log.clear();
  Odd typeless;
  typeless.m_count = 1;
  EXPECT_FALSE(engine.expand_syntax(&typeless));
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].level, IRunLog::ERROR);
  EXPECT_EQ(call("odd", {}), ec::SCRIPT_NO_RULE);
}

TEST_F(ScriptRules, AFunctionThatHasLostItsNameIsNotShown) {
  Odd odd;
  HostFunction f("f");
  ASSERT_TRUE(engine.expand_syntax(&odd));
  ASSERT_TRUE(engine.expand_syntax(&f));
  odd.m_name = nullptr;
  Texts shown;
  engine.visit_functions([&](const std::string& name, const std::vector<IScript::VType>&,
                             IScript::ISyntax&) { shown.push_back(name); });
  EXPECT_EQ(shown, Texts{"f"});
}

TEST_F(ScriptRules, WithoutParametersNoTypesAreNeeded) {
  Odd odd;
  EXPECT_TRUE(engine.expand_syntax(&odd));
  EXPECT_EQ(call("odd", {}), ec::SCRIPT_OK);
  odd.m_count = -3;
  EXPECT_TRUE(engine.expand_syntax(&odd));
  engine.release();
  engine.init();
  EXPECT_TRUE(engine.expand_syntax(&odd));
  EXPECT_EQ(call("odd", {}), ec::SCRIPT_OK);
}

TEST_F(ScriptRules, ARegistrationWithoutMemoryChangesNothing) {
  HostFunction f(std::string(100, 'f'), {VT_INT, VT_INT});
  log.type(IRunLog::ERROR);
  for (int n = 1;; ++n) {
    log.clear();
    {
      const FailingNew memory(n, FailingNew::ANY);
      const bool registered = engine.CScript::expand_syntax(&f);
      if (!memory.has_failed()) {
        EXPECT_TRUE(registered);
        break;
      }
      EXPECT_FALSE(registered);
    }
    EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "申请内存失败")});
  }
}

TEST_F(ScriptRules, AnExceptionOfTheObjectReachesTheHostAndFreesTheLock) {
  struct Throwing : Odd {
    const char* name() override { throw 5; }
  } throwing;
  EXPECT_THROW(engine.expand_syntax(&throwing), int);
  EXPECT_EQ(engine.set("x", 1), ec::SCRIPT_OK);
}

TEST_F(ScriptRules, RegistrationIsTraced) {
  LogCapture traces(IRunLog::TRACE);
  HostFunction f("f");
  engine.expand_syntax(&f);
  EXPECT_EQ(traces.records(),
            (std::vector{record(IRunLog::TRACE, "Call: "), record(IRunLog::TRACE, "Ret: ")}));
}

// Declarations of the file.

TEST_F(ScriptRules, DeclarationsKeepTheirParametersInOrder) {
  EXPECT_EQ(declare("<Func name='f'><param tag='b' type='string' must='true'/>"
                    "<param tag='a' type='int'/></Func><Func name='g'/>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.func_names(), (Texts{"f", "g"}));
  EXPECT_EQ(engine.declared("f"), (Texts{"b:string:must", "a:int:must"}));
  EXPECT_TRUE(engine.declared("g").empty());
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptRules, AnOptionalParameterHasADefault) {
  EXPECT_EQ(declare("<Func name='f'>"
                    "<param tag='a' type='int' must='false' defaultval='5'/>"
                    "<param tag='b' type='string' must='false' defaultval=' x '/>"
                    "<param tag='c' type='int' must='false'/>"
                    "<param tag='d' type='string' must='false'/>"
                    "<param tag='e' type='string' must='true' defaultval='ignored'/></Func>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.declared("f"),
            (Texts{"a:int:'5'", "b:string:' x '", "c:int:'0'", "d:string:''", "e:string:must"}));
}

TEST_F(ScriptRules, AFuncNeedsAName) {
  EXPECT_EQ(declare("<Func/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "获得func节点的name属性失败, XEC[24]\n")});
}

TEST_F(ScriptRules, AParamNeedsATag) {
  EXPECT_EQ(declare_param("type='int'"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得param属性tag失败, XEC[24]")});
}

TEST_F(ScriptRules, KeywordsAreNoTags) {
  EXPECT_EQ(declare_param("tag='ret' type='unknown'"), ec::SCRIPT_E_PARAM_TAG);
  EXPECT_EQ(declare_param("tag='params'"), ec::SCRIPT_E_PARAM_TAG);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "tag的值[ret]不能与脚本关键字相同"),
                         record(IRunLog::ERROR, "tag的值[params]不能与脚本关键字相同")}));
  EXPECT_EQ(declare_param("tag='Ret' type='int'"), ec::SCRIPT_OK);
}

TEST_F(ScriptRules, AParamNeedsAType) {
  EXPECT_EQ(declare_param("tag='a'"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得param属性type失败, XEC[24]")});
}

TEST_F(ScriptRules, AnUnknownTypeIsRefused) {
  EXPECT_EQ(declare_param("tag='a' type='Int' must='unknown'"), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "不能识别的参数类型，Int\n")});
}

TEST_F(ScriptRules, MustIsTrueOrFalse) {
  EXPECT_EQ(declare_param("tag='a' type='int' must='yes'"), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(declare_param("tag='a' type='int' must=''"), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "不能识别的must属性[yes]\n"),
                                        record(IRunLog::ERROR, "不能识别的must属性[]\n")}));
}

TEST_F(ScriptRules, FunctionNamesAreUniqueInAllTemplates) {
  EXPECT_EQ(engine.load_text("<korvid><template><Func name='f'><param tag='a' type='int'/></Func>"
                             "</template><template><Func name='g'/><Func name='f'/><Func name='h'/>"
                             "</template><Process name=''/></korvid>"),
            ec::SCRIPT_FUNC_EXISTS);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "同名函数已经存在，Func[f]\n")});
  EXPECT_EQ(engine.func_names(), (Texts{"f", "g"}));
  EXPECT_EQ(engine.declared("f"), Texts{"a:int:must"});
}

TEST_F(ScriptRules, ParametersAreReadBeforeTheNameIsCompared) {
  EXPECT_EQ(declare("<Func name='f'/><Func name='f'><param/></Func>"), ec::SCRIPT_E_ATTR);
}

TEST_F(ScriptRules, TheFirstFailureEndsTheDeclarations) {
  EXPECT_EQ(declare("<Func name='f'/><Func/><Func name='g'/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(engine.func_names(), Texts{"f"});
}

TEST_F(ScriptRules, OtherElementsInsideDeclarationsAreIgnored) {
  EXPECT_EQ(declare("<!-- c -->text<func name='no'/><Func name='f'>text<Param/>"
                    "<param tag='a' type='int'><param/></param></Func>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.func_names(), Texts{"f"});
  EXPECT_EQ(engine.declared("f"), Texts{"a:int:must"});
}

TEST_F(ScriptRules, ADeclarationThatDiffersFromTheSignatureIsFineWhileNothingCallsIt) {
  HostFunction f("f", {VT_STRING});
  engine.expand_syntax(&f);
  EXPECT_EQ(declare_param("tag='a' type='int'"), ec::SCRIPT_OK);
}

TEST_F(ScriptRules, AttributesThatTheCodePageCannotExpressAreErrors) {
  const CodePage page("US-ASCII");
  EXPECT_EQ(declare("<Func name='&#x4E2D;'/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(declare_param("tag='&#x4E2D;' type='int'"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(declare_param("tag='a' type='&#x4E2D;'"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(declare_param("tag='a' type='int' must='&#x4E2D;'"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(declare_param("tag='a' type='int' must='false' defaultval='&#x4E2D;'"),
            ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "获得func节点的name属性失败, XEC[26]\n"),
                         record(IRunLog::ERROR, "获得param属性tag失败, XEC[26]"),
                         record(IRunLog::ERROR, "获得param属性type失败, XEC[26]"),
                         record(IRunLog::ERROR, "获得param属性must失败, XEC[26]"),
                         record(IRunLog::ERROR, "获得param属性defaultval失败, XEC[26]")}));
  EXPECT_TRUE(engine.func_names().empty());
}

}  // namespace
