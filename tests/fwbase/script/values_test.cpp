#include <gtest/gtest.h>

#include <locale>

#include "fwbase/script/program.h"
#include "fwbase/script/values.h"
#include "tests/harness/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using script::Access;
using script::Values;
using script::ValueTable;

constexpr auto VT_INT = IScript::VT_INT;
constexpr auto VT_STRING = IScript::VT_STRING;
constexpr auto kUnknownType = static_cast<IScript::VType>(7);

int env_a;
int env_b;

class ScriptValues : public testing::Test {
 protected:
  IScript::VType set(const std::string& name, std::int32_t value) {
    return table.set(name, VT_INT, &value);
  }
  IScript::VType set(const std::string& name, const std::string& value) {
    return table.set(name, VT_STRING, &value);
  }

  Values values;
  ValueTable& table = values.global();
  std::int32_t number = 77;
  std::string text = "untouched";
};

TEST_F(ScriptValues, TypesHaveTheirNumbers) {
  EXPECT_EQ(static_cast<int>(VT_INT), 0);
  EXPECT_EQ(static_cast<int>(VT_STRING), 1);
  EXPECT_EQ(sizeof(IScript::VType), 4u);
}

TEST_F(ScriptValues, AWriteMayChangeTheTypeAndTellsTheFormerOne) {
  EXPECT_EQ(set("x", 5), VT_INT);
  EXPECT_EQ(table.get("x", VT_INT, &number), Access::kOk);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(set("x", "a"), VT_INT);
  EXPECT_EQ(table.get("x", VT_INT, &number), Access::kOtherType);
  EXPECT_EQ(table.get("x", VT_STRING, &text), Access::kOk);
  EXPECT_EQ(text, "a");
  EXPECT_EQ(set("x", 6), VT_STRING);
}

TEST_F(ScriptValues, DataIsCopiedInAndOut) {
  std::string mine = "before";
  table.set("x", VT_STRING, &mine);
  mine = "after";
  EXPECT_EQ(table.get("x", VT_STRING, &text), Access::kOk);
  EXPECT_EQ(text, "before");
  text = "mine";
  EXPECT_EQ(table.find("x")->text, "before");
}

TEST_F(ScriptValues, NamesAreComparedByteByByte) {
  set("x", 1);
  set("X", "text");
  set("", 2);
  EXPECT_EQ(table.find("x")->number, 1);
  EXPECT_EQ(table.find("X")->text, "text");
  EXPECT_EQ(table.find("")->number, 2);
  EXPECT_EQ(table.find("x "), nullptr);
}

TEST_F(ScriptValues, AFailedReadLeavesTheOutputAlone) {
  set("n", 5);
  EXPECT_EQ(table.get("none", VT_INT, &number), Access::kNotFound);
  EXPECT_EQ(table.get("n", VT_STRING, &text), Access::kOtherType);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(text, "untouched");
}

TEST_F(ScriptValues, AnUnknownTypeIsStoredWithoutAValue) {
  EXPECT_EQ(table.set("x", kUnknownType, &number), VT_INT);
  EXPECT_EQ(table.get("x", kUnknownType, &number), Access::kNoValue);
  EXPECT_EQ(values.unknown_types(), std::vector{kUnknownType});
  EXPECT_EQ(set("x", 5), kUnknownType);
  EXPECT_TRUE(values.unknown_types().empty());
}

TEST_F(ScriptValues, RemovingTellsWhetherTheVariableWasThere) {
  set("x", 5);
  EXPECT_TRUE(table.remove("x"));
  EXPECT_FALSE(table.remove("x"));
  EXPECT_EQ(table.find("x"), nullptr);
}

TEST_F(ScriptValues, SortedGivesAllByTheBytesOfTheirNames) {
  for (const char* const name : {"b", "", "\xff", "a", "B", "ab"}) {
    set(name, 1);
  }
  std::vector<std::string> names;
  for (const auto* const variable : table.sorted()) {
    names.push_back(variable->first);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"", "B", "a", "ab", "b", "\xff"}));
}

TEST_F(ScriptValues, EnvironmentsHaveTablesOfTheirOwn) {
  EXPECT_EQ(values.get("x", VT_INT, &number, &env_a), Access::kNoTable);
  const std::int32_t one = 1;
  const std::int32_t two = 2;
  set("x", 5);
  values.set("x", VT_INT, &one, &env_a);
  values.set("x", VT_INT, &two, nullptr);
  EXPECT_EQ(values.get("x", VT_INT, &number, &env_a), Access::kOk);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(values.get("x", VT_INT, &number, nullptr), Access::kOk);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(values.get("x", VT_INT, &number, &env_b), Access::kNoTable);
  EXPECT_EQ(values.get("y", VT_INT, &number, &env_a), Access::kNotFound);
  EXPECT_EQ(table.find("x")->number, 5);
}

// Out of memory.

TEST_F(ScriptValues, AWriteWithoutMemoryChangesNothing) {
  const std::string name(100, 'n');
  const std::string value(100, 'v');
  set(name, 5);
  for (int n = 1;; ++n) {
    const FailingNew memory(n, FailingNew::ANY);
    try {
      table.set(name, VT_STRING, &value);
      EXPECT_FALSE(memory.has_failed());
      break;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(table.find(name)->number, 5);
    }
  }
  EXPECT_EQ(table.find(name)->text, value);
}

TEST_F(ScriptValues, AWriteWithoutMemoryMakesNoEnvironment) {
  const std::string name(100, 'n');
  for (int n = 1;; ++n) {
    const FailingNew memory(n, FailingNew::ANY);
    try {
      values.set(name, VT_STRING, &name, &env_a);
      EXPECT_FALSE(memory.has_failed());
      break;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(values.of(&env_a), nullptr);
    }
  }
  EXPECT_NE(values.of(&env_a), nullptr);
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
