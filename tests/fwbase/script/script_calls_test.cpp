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

class ScriptCalls : public testing::Test {
 protected:
  ScriptCalls() {
    engine.expand_syntax(&f);
    engine.expand_syntax(&g);
    engine.expand_syntax(&optional);
  }

  // Loads the calls of a section "s": f(n: int, s: string), g(), optional(n = 7, s = 'none').
  ec::EC load(const std::string& calls) {
    return load(calls,
                "<Func name='f'><param tag='n' type='int'/><param tag='s' type='string'/></Func>"
                "<Func name='g'/><Func name='optional'>"
                "<param tag='n' type='int' must='false' defaultval='7'/>"
                "<param tag='s' type='string' must='false' defaultval='none'/></Func>");
  }
  ec::EC load(const std::string& calls, const std::string& funcs) {
    return engine.load_text("<korvid><template>" + funcs +
                            "</template><Process name=''><Exec><section name='s'>" + calls +
                            "</section></Exec></Process></korvid>");
  }

  LogCapture log;
  HostFunction f{"f", {VT_INT, VT_STRING}};
  HostFunction g{"g"};
  HostFunction optional{"optional", {VT_INT, VT_STRING}};
  ScriptEngine engine;
};

TEST_F(ScriptCalls, ArgumentsAreReadByTagInTheOrderOfTheDeclaration) {
  EXPECT_EQ(load("<f><s>text</s><n>5</n></f>"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"f(int 5,string text)"});
  EXPECT_EQ(engine.states("s"), std::vector{0});
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptCalls, TextsAreTrimmedAndNumbersReadAsFarAsTheyGo) {
  EXPECT_EQ(load("<f><n> -12ab </n><s>\n  a b\t</s></f><f><n>none</n><s/></f>"
                 "<f><n/><s><!-- c -->text</s></f><f><n>3000000000</n><s>x</s></f>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), (Texts{"f(int -12,string a b)", "f(int 0,string )",
                                      "f(int 0,string )", "f(int 2147483647,string x)"}));
}

TEST_F(ScriptCalls, ACallWithoutParamsIsOneCall) {
  EXPECT_EQ(load("<g/>"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"g()"});
}

TEST_F(ScriptCalls, EachParamsChildIsACall) {
  EXPECT_EQ(load("<f><params><n>1</n><s>a</s></params><n>ignored</n>"
                 "<params><n>2</n><s>b</s><ret>r</ret></params></f><g><params/><params/></g>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), (Texts{"f(int 1,string a)", "f(int 2,string b)->r", "g()", "g()"}));
}

TEST_F(ScriptCalls, OtherChildrenAreIgnored) {
  EXPECT_EQ(load("text<!-- c --><f><x/><n>1</n>text<x/><N>9</N><s>a</s></f>"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"f(int 1,string a)"});
}

TEST_F(ScriptCalls, AReferenceNamesAVariable) {
  EXPECT_EQ(load("<f><n><ref> x </ref></n><s><ref>y</ref><ref>ignored</ref></s></f>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"f(ref x,ref y)"});
}

TEST_F(ScriptCalls, AReferenceWinsOverText) {
  EXPECT_EQ(load("<f><n>5<ref>x</ref>6</n><s>text<ref>y</ref></s></f>"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"f(ref x,ref y)"});
}

TEST_F(ScriptCalls, AnEmptyReferenceIsRefused) {
  EXPECT_EQ(load("<f><n><ref> </ref><ref>x</ref></n><s/></f>"), ec::SCRIPT_EMPTY_NAME);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "引用变量名不能为空\n")});
}

TEST_F(ScriptCalls, TheFirstRetCounts) {
  EXPECT_EQ(load("<g><ret> r </ret><ret/></g><g/>"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), (Texts{"g()->r", "g()"}));
}

TEST_F(ScriptCalls, AnEmptyRetIsRefused) {
  EXPECT_EQ(load("<g/><g><ret/><ret>r</ret></g>"), ec::SCRIPT_EMPTY_NAME);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "返回值名不能为空\n")});
  EXPECT_EQ(engine.calls("s"), Texts{"g()"});
}

TEST_F(ScriptCalls, AnUndeclaredFunctionIsRefusedByName) {
  HostFunction only_registered("registered");
  engine.expand_syntax(&only_registered);
  EXPECT_EQ(load("<g/><registered/>"), ec::SCRIPT_NO_RULE);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "函数[registered]没有在模板中定义\n")});
  EXPECT_EQ(engine.calls("s"), Texts{"g()"});
}

TEST_F(ScriptCalls, AFunctionThatTheHostDidNotRegisterIsRefused) {
  EXPECT_EQ(load("<declared/>", "<Func name='declared'/>"), ec::SCRIPT_NO_RULE);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "没有找到模板[declared]")});
}

TEST_F(ScriptCalls, ADeclarationWithAnotherNumberOfParametersIsRefused) {
  EXPECT_EQ(load("<f/>", "<Func name='f'><param tag='n' type='string'/></Func>"),
            ec::SCRIPT_PARAM_COUNT);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "模版参数与扩展函数参数不一样\n")});
}

TEST_F(ScriptCalls, ADeclarationWithAnotherTypeIsRefused) {
  EXPECT_EQ(load("<f/>",
                 "<Func name='f'><param tag='n' type='int'/><param tag='s' type='int'/>"
                 "</Func>"),
            ec::SCRIPT_PARAM_TYPE);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "参数类型错误,[0x1][0x0]\n")});
}

TEST_F(ScriptCalls, TheDeclarationIsCheckedAtEachUse) {
  EXPECT_EQ(load("<g/>"), ec::SCRIPT_OK);
  HostFunction other("g", {VT_INT});
  engine.expand_syntax(&other);
  EXPECT_EQ(engine.load_text("<korvid><Process name=''><Exec><section name='t'><g/></section>"
                             "</Exec></Process></korvid>"),
            ec::SCRIPT_PARAM_COUNT);
}

TEST_F(ScriptCalls, AnArgumentGivenTwiceIsRefusedWithItsNumber) {
  EXPECT_EQ(load("<f><s>a</s><n>1</n><s>b</s><s/></f>"), ec::SCRIPT_E_PARAMS_CHILD);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "字节点[s]有数目不对:3\n")});
  EXPECT_TRUE(engine.calls("s").empty());
}

TEST_F(ScriptCalls, ARequiredArgumentMustBeThere) {
  EXPECT_EQ(load("<f><n>1</n></f>"), ec::SCRIPT_E_PARAMS_CHILD);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "节点[f->s]必须存在\n")});
}

TEST_F(ScriptCalls, TheFirstParameterInOrderOfTheDeclarationIsBlamed) {
  EXPECT_EQ(load("<f><s>a</s><s>b</s></f>"), ec::SCRIPT_E_PARAMS_CHILD);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "节点[f->n]必须存在\n")});
}

TEST_F(ScriptCalls, AnOptionalArgumentTakesItsDefault) {
  EXPECT_EQ(load("<optional/><optional><s>given</s></optional>"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"),
            (Texts{"optional(int 7,string none)", "optional(int 7,string given)"}));
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::DEBUG, "没有[n]节点，采用默认值[7]\n"),
                                        record(IRunLog::DEBUG, "没有[s]节点，采用默认值[none]\n"),
                                        record(IRunLog::DEBUG, "没有[n]节点，采用默认值[7]\n")}));
}

TEST_F(ScriptCalls, AnOptionalArgumentGivenTwiceIsRefusedToo) {
  EXPECT_EQ(load("<optional><n>1</n><n>1</n></optional>"), ec::SCRIPT_E_PARAMS_CHILD);
}

TEST_F(ScriptCalls, DefaultsAreReadLikeTexts) {
  EXPECT_EQ(load("<optional/>",
                 "<Func name='optional'><param tag='n' type='int' must='false' defaultval='x'/>"
                 "<param tag='s' type='string' must='false'/></Func>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"optional(int 0,string )"});
}

TEST_F(ScriptCalls, AParameterWithAnEmptyTagCannotBeGiven) {
  HostFunction h("h", {VT_INT});
  engine.expand_syntax(&h);
  EXPECT_EQ(load("<h/>", "<Func name='h'><param tag='' type='int' must='false'/></Func>"),
            ec::SCRIPT_E_FORMAT);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得子节点失败[]\n")});
}

TEST_F(ScriptCalls, TwoParametersOfOneTagTakeTheSameElement) {
  EXPECT_EQ(load("<f><n>5</n></f>",
                 "<Func name='f'><param tag='n' type='int'/><param tag='n' type='string'/></Func>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"f(int 5,string 5)"});
}

TEST_F(ScriptCalls, TheFirstFailureEndsTheSectionAndKeepsEarlierCalls) {
  EXPECT_EQ(load("<g/><f><params><n>1</n><s>a</s></params><params/></f><g/>"),
            ec::SCRIPT_E_PARAMS_CHILD);
  EXPECT_EQ(engine.calls("s"), (Texts{"g()", "f(int 1,string a)"}));
}

// Texts that the code page cannot express.

class ScriptCallsEncoding : public ScriptCalls {
 protected:
  const CodePage page{"US-ASCII"};
};

TEST_F(ScriptCallsEncoding, OfAnArgumentAreRefused) {
  EXPECT_EQ(load("<f><n>1</n><s>&#x4E2D;</s></f>"), ec::SCRIPT_E_FORMAT);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得[s]节点出错，XEC[26]")});
}

TEST_F(ScriptCallsEncoding, OfAReferenceAreRefused) {
  EXPECT_EQ(load("<f><n><ref>&#x4E2D;</ref></n><s/></f>"), ec::SCRIPT_E_FORMAT);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得[ref]节点出错，XEC[26]")});
}

TEST_F(ScriptCallsEncoding, OfARetAreRefused) {
  EXPECT_EQ(load("<g><ret>&#x4E2D;</ret></g>"), ec::SCRIPT_E_FORMAT);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得子节点失败[ret]\n")});
}

TEST_F(ScriptCallsEncoding, OfACallsNameAreNoFunctionEvenIfOneHasNoName) {
  HostFunction nameless("");
  engine.expand_syntax(&nameless);
  EXPECT_EQ(load("<\xE4\xB8\xAD/>", "<Func name=''/>"), ec::SCRIPT_NO_RULE);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "函数[]没有在模板中定义\n")});
}

TEST_F(ScriptCallsEncoding, OfIgnoredElementsDoNotMatter) {
  EXPECT_EQ(load("<g><\xE4\xB8\xAD/></g>"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"g()"});
}

}  // namespace
