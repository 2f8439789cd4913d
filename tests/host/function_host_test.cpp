// <fwbase/function.h>: what bodies get and give, what functions tell of themselves.
#include <fwbase/function.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "tests/harness/script_file.h"

namespace {

using fwbase::Call;
using fwbase::Function;
using fwbase::IFunctionDescription;
using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::IScript;
using fwbase::param;

struct FunctionHost : testing::Test {
  FunctionHost() { IFWBase::instance()->init(); }
  ~FunctionHost() override { IFWBase::instance()->release(); }

  static IScript& engine() { return *IFWBase::instance()->script(); }

  /// Calls it as the engine does, with the result going to "result".
  ec::EC call(Function& function, const IScript::VValue* args = nullptr) {
    return function.call(args, &m_environment, "result");
  }

  std::int32_t number() {
    std::int32_t value = 0;
    EXPECT_EQ(engine().get_value_env("result", IScript::VT_INT, &value, &m_environment),
              ec::SCRIPT_OK);
    return value;
  }

  std::string text() {
    std::string value;
    EXPECT_EQ(engine().get_value_env("result", IScript::VT_STRING, &value, &m_environment),
              ec::SCRIPT_OK);
    return value;
  }

  bool has_result() {
    std::int32_t value = 0;
    return engine().get_value_env("result", IScript::VT_INT, &value, &m_environment) !=
           ec::SCRIPT_NOT_FOUND;
  }

  char m_environment = 0;
};

IScript::VValue of(std::int32_t number) {
  IScript::VValue value{};
  value.int_value = number;
  return value;
}

IScript::VValue of(const char* text) {
  IScript::VValue value{};
  value.string_value = text;
  return value;
}

std::int32_t sum_of(std::int32_t a, std::int32_t b) { return a + b; }

std::string joined(const char* a, const std::string& b) { return a + b; }

struct Adder {
  std::int32_t base;
  std::int32_t operator()(std::int32_t a) const noexcept { return base + a; }
};

/// A run log that keeps the last record.
struct LastRecord : IRunLog {
  LastRecord() { IFWBase::instance()->runlog(this); }
  ~LastRecord() override {
    IFWBase::instance()->runlog(nullptr);
    ms_type_sign = 0;
  }
  ec::EC init() override { return ec::LOG_OK; }
  void type(unsigned int mask) override { ms_type_sign = mask; }
  void info(unsigned int) override {}
  ec::EC file(const char*) override { return ec::LOG_OK; }
  void asynch(bool) override {}
  void release() override {}
  void write(Type level, const char* text, const char* place) override {
    ++count;
    type_written = level;
    message = text;
    location = place;
  }

  int count = 0;
  Type type_written = TRACE;
  std::string message;
  std::string location;
};

}  // namespace

TEST_F(FunctionHost, TakesAFunctionAsItsBody) {
  Function sum("sum", "Adds.", {param("a"), param("b")}, sum_of);
  const IScript::VValue args[] = {of(2), of(40)};
  EXPECT_EQ(call(sum, args), ec::SCRIPT_OK);
  EXPECT_EQ(number(), 42);
}

TEST_F(FunctionHost, TakesALambdaAndAnObjectAsItsBody) {
  Function twice("twice", "", {param("a")}, [](std::int32_t a) { return 2 * a; });
  Function plus("plus", "", {param("a")}, Adder{100});
  const IScript::VValue args[] = {of(4)};
  EXPECT_EQ(call(twice, args), ec::SCRIPT_OK);
  EXPECT_EQ(number(), 8);
  EXPECT_EQ(call(plus, args), ec::SCRIPT_OK);
  EXPECT_EQ(number(), 104);
}

TEST_F(FunctionHost, TakesALambdaThatKeepsACount) {
  int calls = 0;
  Function counted("counted", "", {}, [&calls, own = 0]() mutable { calls = ++own; });
  EXPECT_EQ(call(counted), ec::SCRIPT_OK);
  EXPECT_EQ(call(counted), ec::SCRIPT_OK);
  EXPECT_EQ(calls, 2);
}

TEST_F(FunctionHost, HandsOverTextsInBothForms) {
  Function join("join", "", {param("a"), param("b")}, joined);
  EXPECT_EQ(join.param_types()[0], IScript::VT_STRING);
  EXPECT_EQ(join.param_types()[1], IScript::VT_STRING);
  const IScript::VValue args[] = {of("left "), of("right")};
  EXPECT_EQ(call(join, args), ec::SCRIPT_OK);
  EXPECT_EQ(text(), "left right");
}

TEST_F(FunctionHost, HandsOverTheCallInFrontOfTheArguments) {
  void* env = nullptr;
  std::string ret;
  Function look("look", "", {param("a")}, [&](const Call& call, std::int32_t) {
    env = call.env();
    ret = call.ret();
  });
  Function by_value("by_value", "", {}, [&](Call call) { env = call.env(); });
  const IScript::VValue args[] = {of(1)};
  EXPECT_EQ(call(look, args), ec::SCRIPT_OK);
  EXPECT_EQ(env, &m_environment);
  EXPECT_EQ(ret, "result");
  env = nullptr;
  EXPECT_EQ(call(by_value), ec::SCRIPT_OK);
  EXPECT_EQ(env, &m_environment);
}

TEST_F(FunctionHost, HasANullRetWhereTheScriptWantsNoResult) {
  bool was_null = false;
  Function look("look", "", {}, [&](const Call& call) {
    was_null = call.ret() == nullptr;
    return call.give(1);
  });
  EXPECT_EQ(look.call(nullptr, &m_environment, nullptr), ec::SCRIPT_OK);
  EXPECT_TRUE(was_null);
  EXPECT_FALSE(has_result());
}

TEST_F(FunctionHost, GivesTextsOfEachKind) {
  Function characters("f", "", {}, [] { return "characters"; });
  Function string("f", "", {}, [] { return std::string("string"); });
  Function nothing("f", "", {}, []() -> const char* { return nullptr; });
  const std::string kept = "kept";
  Function reference("f", "", {}, [&]() -> const std::string& { return kept; });
  EXPECT_EQ(call(characters), ec::SCRIPT_OK);
  EXPECT_EQ(text(), "characters");
  EXPECT_EQ(call(string), ec::SCRIPT_OK);
  EXPECT_EQ(text(), "string");
  EXPECT_EQ(call(reference), ec::SCRIPT_OK);
  EXPECT_EQ(text(), "kept");
  EXPECT_EQ(call(nothing), ec::SCRIPT_OK);
  EXPECT_EQ(text(), "");
}

TEST_F(FunctionHost, TakesACodeForACodeAndNotForAResult) {
  Function fails("f", "", {}, [] { return ec::SCRIPT_NOT_FOUND; });
  Function own("f", "", {}, []() -> ec::EC { return 7; });
  EXPECT_EQ(call(fails), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(call(own), 7U);
  EXPECT_FALSE(has_result());
}

TEST_F(FunctionHost, SucceedsWhereTheBodyReturnsNothing) {
  Function quiet("f", "", {}, [] {});
  EXPECT_EQ(call(quiet), ec::SCRIPT_OK);
  EXPECT_FALSE(has_result());
}

TEST_F(FunctionHost, GivesWhatTheCallIsTold) {
  Function number_given("f", "", {}, [](const Call& call) { return call.give(5); });
  Function text_given("f", "", {}, [](const Call& call) { return call.give("five"); });
  EXPECT_EQ(call(number_given), ec::SCRIPT_OK);
  EXPECT_EQ(number(), 5);
  EXPECT_EQ(call(text_given), ec::SCRIPT_OK);
  EXPECT_EQ(text(), "five");
}

TEST_F(FunctionHost, GivesNothingWithoutAnEngine) {
  Function gives("f", "", {}, [] { return 1; });
  IFWBase::instance()->release();
  EXPECT_EQ(call(gives), ec::SCRIPT_E_PARAM);
}

TEST_F(FunctionHost, LogsOneRecordWhereItFails) {
  LastRecord log;
  log.type(IRunLog::ERROR);
  const int line = __LINE__ + 1;
  Function fails("open", "", {param("door")}, [](const Call& call, std::int32_t door) {
    return call.fail(ec::SCRIPT_NOT_FOUND, "no door %d in the %s", door, "house");
  });
  const IScript::VValue args[] = {of(3)};
  EXPECT_EQ(call(fails, args), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(log.count, 1);
  EXPECT_EQ(log.type_written, IRunLog::ERROR);
  EXPECT_EQ(log.message, "open: no door 3 in the house");
  // GCC 12 takes the line where a declaration of several lines ends, Clang the one where it begins.
  EXPECT_NE(log.location.find(" open tests/host/function_host_test.cpp("), std::string::npos)
      << log.location;
  const int told = std::stoi(log.location.substr(log.location.find(".cpp(") + 5));
  EXPECT_GE(told, line);
  EXPECT_LE(told, line + 2);
}

TEST_F(FunctionHost, LogsNothingWhereTheLevelIsOff) {
  LastRecord log;
  log.type(IRunLog::WARN);
  Function fails("f", "", {},
                 [](const Call& call) { return call.fail(ec::SCRIPT_NOT_FOUND, "x"); });
  EXPECT_EQ(call(fails), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(log.count, 0);
}

TEST_F(FunctionHost, CutsALongReason) {
  LastRecord log;
  log.type(IRunLog::ERROR);
  const std::string reason(5000, 'x');
  Function fails("f", "", {}, [&](const Call& call) { return call.fail(1, "%s", reason.c_str()); });
  EXPECT_EQ(call(fails), 1U);
  EXPECT_EQ(log.message, "f: " + std::string(1022 - 3, 'x'));
}

TEST_F(FunctionHost, TurnsMemoryThatRunsOutIntoACode) {
  Function fails("f", "", {}, []() -> ec::EC { throw std::bad_alloc(); });
  EXPECT_EQ(call(fails), ec::SCRIPT_NO_MEMORY);
}

TEST_F(FunctionHost, LetsOtherExceptionsPass) {
  Function fails("f", "", {}, []() -> ec::EC { throw std::runtime_error("broken"); });
  EXPECT_THROW(call(fails), std::runtime_error);
}

TEST_F(FunctionHost, TellsItsDescriptionToWhoeverAsks) {
  Function greet(
      "greet", "Greets somebody.",
      {param("who", "whom to greet"), param("times").or_else(1), param("word").or_else("Hello")},
      [](const Call&, const char*, std::int32_t, const std::string&) {});
  IScript::ISyntax* const registered = &greet;
  const auto* const told = dynamic_cast<IFunctionDescription*>(registered);
  ASSERT_NE(told, nullptr);
  EXPECT_STREQ(registered->name(), "greet");
  EXPECT_EQ(registered->param_count(), 3);
  EXPECT_STREQ(told->description(), "Greets somebody.");
  EXPECT_STREQ(told->param_tag(0), "who");
  EXPECT_STREQ(told->param_description(0), "whom to greet");
  EXPECT_EQ(told->param_default(0), nullptr);
  EXPECT_STREQ(told->param_tag(1), "times");
  EXPECT_STREQ(told->param_description(1), "");
  EXPECT_STREQ(told->param_default(1), "1");
  EXPECT_STREQ(told->param_default(2), "Hello");
  EXPECT_EQ(told->origin(), nullptr);
}

TEST_F(FunctionHost, KeepsCopiesOfItsTexts) {
  std::string name = "name";
  std::string tag = "tag";
  Function function(name.c_str(), name.c_str(), {param(tag.c_str(), tag.c_str())},
                    [](const char*) {});
  name = "gone";
  tag = "off";
  EXPECT_STREQ(function.name(), "name");
  EXPECT_STREQ(function.description(), "name");
  EXPECT_STREQ(function.param_tag(0), "tag");
  EXPECT_STREQ(function.param_description(0), "tag");
}

TEST_F(FunctionHost, RunsInAScript) {
  std::string greeted;
  Function greet("greet", "Greets somebody.", {param("who"), param("times").or_else(1)},
                 [&](const char* who, std::int32_t times) {
                   greeted += std::string(who) + std::to_string(times) + ";";
                   return times;
                 });
  const fwbase::test::ScriptFile file(
      "<korvid><template><Func name=\"greet\"><param tag=\"who\" type=\"string\"/>"
      "<param tag=\"times\" type=\"int\" must=\"false\" defaultval=\"1\"/></Func></template>"
      "<Process name=\"\"><Exec><section name=\"run\">"
      "<greet><who>world</who><times>4</times><ret>n</ret></greet>"
      "<greet><times><ref>n</ref></times><who>all</who></greet>"
      "<greet><who>one</who></greet></section></Exec></Process></korvid>");
  ASSERT_TRUE(engine().expand_syntax(&greet));
  ASSERT_EQ(engine().load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(engine().exec_scommad("run", &m_environment), ec::SCRIPT_OK);
  EXPECT_EQ(greeted, "world4;all4;one1;");
}
