#include <gtest/gtest.h>

#include <locale>

#include "tests/fwbase/script/script_engine.h"
#include "tests/support/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Shown = ScriptEngine::Shown;

constexpr auto VT_INT = IScript::VT_INT;
constexpr auto VT_STRING = IScript::VT_STRING;

int env_a;
int env_b;

// The engine's internal writers and readers, with the lock that they want.
class ScriptValues : public testing::Test {
 protected:
  ec::EC set_value(const std::string& name, IScript::VType type, const void* data,
                   bool modified = false) {
    const support::WriteGuard guard(engine.m_lock);
    return engine.SetValue(name, type, data, modified);
  }
  ec::EC set_value_env(const std::string& name, IScript::VType type, const void* data, void* env) {
    const support::WriteGuard guard(engine.m_lock);
    return engine.SetValueEnv(name, type, data, env);
  }
  ec::EC get_value_env(const std::string& name, IScript::VType type, void* out, void* env) {
    const support::ReadGuard guard(engine.m_lock);
    return engine.GetValueEnv(name, type, out, env);
  }
  const void* table_of(void* env) {
    const support::ReadGuard guard(engine.m_lock);
    return engine.m_env_values.at(env).get();
  }

  LogCapture log;
  ScriptEngine engine;
  const std::int32_t five = 5;
  const std::string text = "text";
};

TEST_F(ScriptValues, TypesHaveTheirNumbers) {
  EXPECT_EQ(static_cast<int>(VT_INT), 0);
  EXPECT_EQ(static_cast<int>(VT_STRING), 1);
  EXPECT_EQ(sizeof(IScript::VType), 4u);
}

TEST_F(ScriptValues, AWriteMayChangeTheType) {
  EXPECT_EQ(set_value("x", VT_INT, &five), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 5"}}));
  const std::string a = "a";
  EXPECT_EQ(set_value("x", VT_STRING, &a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "string a"}}));
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptValues, AWriteCopies) {
  std::string mine = "before";
  set_value("x", VT_STRING, &mine);
  mine = "after";
  EXPECT_EQ(engine.values(), (Shown{{"x", "string before"}}));
}

TEST_F(ScriptValues, NamesAreComparedByteByByte) {
  set_value("x", VT_INT, &five);
  set_value("X", VT_STRING, &text);
  set_value("", VT_INT, &five);
  EXPECT_EQ(engine.values(), (Shown{{"", "int 5"}, {"X", "string text"}, {"x", "int 5"}}));
}

TEST_F(ScriptValues, OnlyAMarkedWriteModifies) {
  set_value("x", VT_INT, &five, false);
  EXPECT_FALSE(engine.modified());
  set_value("x", VT_INT, &five, true);
  EXPECT_TRUE(engine.modified());
  set_value("x", VT_INT, &five, false);
  EXPECT_TRUE(engine.modified());
}

TEST_F(ScriptValues, NullDataIsRefusedAndChangesNothing) {
  set_value("x", VT_INT, &five);
  EXPECT_EQ(set_value("x", kUnknownType, nullptr, true), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(set_value_env("x", VT_INT, nullptr, &env_a), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "参数错误"), record(IRunLog::ERROR, "参数错误")}));
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 5"}}));
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{"no", "table"}}));
  EXPECT_FALSE(engine.modified());
}

TEST_F(ScriptValues, AnUnknownTypeIsStoredWithoutAValue) {
  EXPECT_EQ(set_value("x", kUnknownType, &five), ec::SCRIPT_OK);
  EXPECT_EQ(set_value_env("x", kUnknownType, &five, &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "nothing"}}));
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{"x", "nothing"}}));
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptValues, ReplacingAnUnknownTypeIsLoggedAndWorks) {
  set_value("x", kUnknownType, &five);
  EXPECT_EQ(set_value("x", VT_INT, &five), ec::SCRIPT_OK);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "错误的类型，0x7")});
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 5"}}));
}

TEST_F(ScriptValues, EnvironmentsHaveTablesOfTheirOwn) {
  EXPECT_EQ(set_value_env("x", VT_INT, &five, &env_a), ec::SCRIPT_OK);
  const void* const table = table_of(&env_a);
  EXPECT_EQ(set_value_env("y", VT_STRING, &text, &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(set_value_env("x", VT_STRING, &text, &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(table_of(&env_a), table);
  EXPECT_EQ(set_value_env("x", VT_INT, &five, &env_b), ec::SCRIPT_OK);
  EXPECT_EQ(set_value_env("x", VT_INT, &five, nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{"x", "string text"}, {"y", "string text"}}));
  EXPECT_EQ(engine.env_values(&env_b), (Shown{{"x", "int 5"}}));
  EXPECT_EQ(engine.env_values(nullptr), (Shown{{"x", "int 5"}}));
  EXPECT_TRUE(engine.values().empty());
  EXPECT_FALSE(engine.modified());
}

TEST_F(ScriptValues, AReadFromAnEnvironmentCopies) {
  set_value_env("x", VT_STRING, &text, &env_a);
  std::string out;
  EXPECT_EQ(get_value_env("x", VT_STRING, &out, &env_a), ec::SCRIPT_OK);
  out = "mine";
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{"x", "string text"}}));
}

TEST_F(ScriptValues, DelDataFreesByType) {
  CScript::Value::Data data;
  data.int_value = std::make_unique<std::int32_t>(5);
  EXPECT_EQ(engine.DelData(VT_INT, data), ec::SCRIPT_OK);
  EXPECT_EQ(data.int_value, nullptr);
  data.string_value = std::make_unique<std::string>("text");
  EXPECT_EQ(engine.DelData(VT_STRING, data), ec::SCRIPT_OK);
  EXPECT_EQ(data.string_value, nullptr);
  EXPECT_EQ(engine.DelData(VT_STRING, data), ec::SCRIPT_OK);
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptValues, DelDataOfAnUnknownTypeFreesNothing) {
  CScript::Value::Data data;
  data.int_value = std::make_unique<std::int32_t>(5);
  EXPECT_EQ(engine.DelData(kUnknownType, data), ec::SCRIPT_BAD_PARAM);
  ASSERT_NE(data.int_value, nullptr);
  EXPECT_EQ(*data.int_value, 5);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "错误的类型，0x7")});
}

TEST_F(ScriptValues, RecordsComeFromTheFunctionThatReports) {
  set_value("x", VT_INT, nullptr);
  set_value_env("x", VT_INT, nullptr, &env_a);
  const std::vector<Record> records = log.records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_NE(records[0].location.find("SetValue("), std::string::npos) << records[0].location;
  EXPECT_NE(records[1].location.find("SetValueEnv("), std::string::npos) << records[1].location;
  EXPECT_NE(records[0].location.find(" fwbase/script/script_values.cpp("), std::string::npos);
}

// Out of memory.

TEST_F(ScriptValues, AFailedAllocationKeepsTheOldValue) {
  set_value("x", VT_INT, &five);
  {
    const FailingNew memory(1);
    EXPECT_EQ(set_value("x", VT_STRING, &text, true), ec::SCRIPT_NO_MEMORY);
  }
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "申请内存失败")});
  log.clear();
  {
    const FailingNew memory(1);
    const std::int32_t six = 6;
    EXPECT_EQ(set_value("x", VT_INT, &six, true), ec::SCRIPT_NO_MEMORY);
  }
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "申请内存失败\n")});
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 5"}}));
  EXPECT_FALSE(engine.modified());
}

TEST_F(ScriptValues, AFailedAllocationMakesNoEnvironment) {
  {
    const FailingNew memory(1);  // the value
    EXPECT_EQ(set_value_env("x", VT_INT, &five, &env_a), ec::SCRIPT_NO_MEMORY);
  }
  {
    const FailingNew memory(1);
    EXPECT_EQ(set_value_env("x", VT_STRING, &text, &env_a), ec::SCRIPT_NO_MEMORY);
  }
  {
    const FailingNew memory(2);  // the table
    EXPECT_EQ(set_value_env("x", VT_INT, &five, &env_a), ec::SCRIPT_NO_MEMORY);
  }
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "申请内存失败\n"),
                                        record(IRunLog::ERROR, "申请内存失败"),
                                        record(IRunLog::ERROR, "申请内存失败")}));
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{"no", "table"}}));
}

// Numbers and types as texts.

TEST(ScriptValueTexts, TypesAreMatchedExactly) {
  IScript::VType type = kUnknownType;
  EXPECT_TRUE(script::type_of("int", type));
  EXPECT_EQ(type, VT_INT);
  EXPECT_TRUE(script::type_of("string", type));
  EXPECT_EQ(type, VT_STRING);
  for (const char* const text : {"", "Int", "INT", "int ", " int", "String", "1"}) {
    type = kUnknownType;
    EXPECT_FALSE(script::type_of(text, type)) << text;
    EXPECT_EQ(type, kUnknownType);
  }
}

struct NumberCase {
  const char* text;
  std::int32_t number;
};

constexpr NumberCase kNumbers[] = {
    {"0", 0},
    {"5", 5},
    {"-5", -5},
    {"+5", 5},
    {"007", 7},
    {" \t\r\n\v\f12", 12},
    {"12ab", 12},
    {"1 2", 1},
    {"1,234", 1},
    {"1.9", 1},
    {"0x10", 0},
    {"", 0},
    {"   ", 0},
    {"abc", 0},
    {"-", 0},
    {"+-5", 0},
    {"- 5", 0},
    {"2147483647", 2147483647},
    {"-2147483648", -2147483647 - 1},
    {"2147483648", 2147483647},
    {"-2147483649", -2147483647 - 1},
    {"99999999999999999999999999", 2147483647},
    {"-99999999999999999999999999", -2147483647 - 1},
};

TEST(ScriptValueTexts, NumbersAreReadAsStreamsReadThem) {
  for (const NumberCase& number : kNumbers) {
    EXPECT_EQ(script::int_of(number.text), number.number) << "'" << number.text << "'";
  }
}

TEST(ScriptValueTexts, NumbersDoNotDependOnTheLocale) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  EXPECT_EQ(script::int_of("1,234"), 1);
  std::locale::global(before);
}

}  // namespace
