#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>

#include "fwbase/runlog/runlog.h"
#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Shown = ScriptEngine::Shown;

constexpr auto VT_INT = IScript::VT_INT;
constexpr auto VT_STRING = IScript::VT_STRING;

int env_a;

class ScriptAccess : public testing::Test {
 protected:
  LogCapture log;
  ScriptEngine engine;
  std::int32_t number = 77;
  std::string text = "untouched";
};

TEST_F(ScriptAccess, GlobalValuesAreReadAsTheyWereSet) {
  EXPECT_EQ(engine.set("n", -5), ec::SCRIPT_OK);
  EXPECT_EQ(engine.set("s", "a\xff text"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.get_value("n", VT_INT, &number), ec::SCRIPT_OK);
  EXPECT_EQ(engine.get_value("s", VT_STRING, &text), ec::SCRIPT_OK);
  EXPECT_EQ(number, -5);
  EXPECT_EQ(text, "a\xff text");
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptAccess, AStringMayHoldZeroBytes) {
  engine.set("s", std::string("a\0b", 3));
  EXPECT_EQ(engine.get_value("s", VT_STRING, &text), ec::SCRIPT_OK);
  EXPECT_EQ(text, std::string("a\0b", 3));
}

TEST_F(ScriptAccess, AMissingGlobalIsNotFound) {
  EXPECT_EQ(engine.get_value("x", VT_INT, &number), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "没有对应的变量,name[x]\n")});
}

TEST_F(ScriptAccess, AGlobalOfAnotherTypeIsRefused) {
  engine.set("n", 5);
  EXPECT_EQ(engine.get_value("n", VT_STRING, &text), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(text, "untouched");
  engine.set("s", "text");
  EXPECT_EQ(engine.get_value("s", VT_INT, &number), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(engine.get_value("s", kUnknownType, &number), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "变量:(n)类型不匹配"),
                                        record(IRunLog::ERROR, "变量:(s)类型不匹配"),
                                        record(IRunLog::ERROR, "变量:(s)类型不匹配")}));
}

TEST_F(ScriptAccess, AVariableOfAnUnknownTypeCannotBeRead) {
  engine.set_value_env("x", kUnknownType, &number, &env_a);
  EXPECT_EQ(engine.get_value_env("x", kUnknownType, &number, &env_a), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "value type error:7")});
}

TEST_F(ScriptAccess, NullArgumentsOfAReadAreBad) {
  EXPECT_EQ(engine.get_value(nullptr, VT_INT, &number), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(engine.get_value_env(nullptr, VT_INT, &number, &env_a), ec::SCRIPT_E_PARAM);
  engine.set("n", 5);
  engine.set_env("n", 5, &env_a);
  EXPECT_EQ(engine.get_value("n", VT_INT, nullptr), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(engine.get_value_env("n", VT_INT, nullptr, &env_a), ec::SCRIPT_E_PARAM);
  ASSERT_EQ(log.records().size(), 4u);
  for (const Record& written : log.records()) {
    EXPECT_EQ(written.level, IRunLog::ERROR);
    EXPECT_EQ(written.message.rfind("param is error: vname=0x", 0), 0u) << written.message;
  }
}

TEST_F(ScriptAccess, NullArgumentsOfAWriteAreToldWithBothPointers) {
  EXPECT_EQ(engine.set_value(nullptr, VT_INT, nullptr), ec::SCRIPT_E_PARAM);
  const char* const name = "x";
  EXPECT_EQ(engine.set_value(name, kUnknownType, nullptr), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(engine.set_value(nullptr, kUnknownType, &number), ec::SCRIPT_E_PARAM);
  char of_name[80];
  char of_data[80];
  std::snprintf(of_name, sizeof of_name, "param is error: vname=0x%x, pdata=0x0\n",
                fwbase::addr32(name));
  std::snprintf(of_data, sizeof of_data, "param is error: vname=0x0, pdata=0x%x\n",
                fwbase::addr32(&number));
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "param is error: vname=0x0, pdata=0x0\n"),
                         record(IRunLog::ERROR, of_name), record(IRunLog::ERROR, of_data)}));
  EXPECT_TRUE(engine.values().empty());
  EXPECT_FALSE(engine.modified());
}

TEST_F(ScriptAccess, AnUnknownTypeIsRefusedWithoutTheLock) {
  test::while_written(engine, [&] {
    errno = 0;
    EXPECT_EQ(engine.set_value("x", static_cast<IScript::VType>(2), &number), ec::SCRIPT_BAD_PARAM);
    EXPECT_EQ(engine.set_value("x", static_cast<IScript::VType>(-1), &number),
              ec::SCRIPT_BAD_PARAM);
    EXPECT_EQ(errno, 0);  // EDEADLK from the lock
  });
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "value type error:2"),
                                        record(IRunLog::ERROR, "value type error:-1")}));
}

TEST_F(ScriptAccess, SettingMarksTheScriptAsModified) {
  EXPECT_FALSE(engine.modified());
  engine.set("n", 5);
  EXPECT_TRUE(engine.modified());
}

TEST_F(ScriptAccess, RemovingMarksTheScriptAsModified) {
  engine.load_text(
      "<korvid><Process name=''><Data><var name='n' type='int' value='1'/></Data></Process>"
      "</korvid>");
  EXPECT_EQ(engine.rm_value("n"), ec::SCRIPT_OK);
  EXPECT_TRUE(engine.values().empty());
  EXPECT_TRUE(engine.modified());
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptAccess, RemovingAMissingGlobalIsNotFoundAndModifiesNothing) {
  EXPECT_EQ(engine.rm_value("x"), ec::SCRIPT_NOT_FOUND);
  EXPECT_FALSE(engine.modified());
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "value is con`t find. vname=x\n")});
}

TEST_F(ScriptAccess, RemovingNullIsABadArgument) {
  EXPECT_EQ(engine.rm_value(nullptr), ec::SCRIPT_E_PARAM);
  EXPECT_FALSE(engine.modified());
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "param is error: vname=0")});
}

TEST_F(ScriptAccess, EnvironmentValuesAreReadAsTheyWereSet) {
  EXPECT_EQ(engine.set_env("n", 5, &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.set_env("s", "text", &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.get_value_env("n", VT_INT, &number, &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.get_value_env("s", VT_STRING, &text, &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(text, "text");
  EXPECT_FALSE(engine.modified());
}

TEST_F(ScriptAccess, AnEnvironmentNeverWrittenIsNotFoundEvenIfAGlobalExists) {
  engine.set("n", 5);
  void* const env = reinterpret_cast<void*>(0x12345678);
  EXPECT_EQ(engine.get_value_env("n", VT_INT, &number, env), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "没有改环境对应的符号表, env[0x12345678]")});
}

TEST_F(ScriptAccess, AMissingEnvironmentVariableIsNotFoundEvenIfAGlobalExists) {
  engine.set("n", 5);
  engine.set_env("other", 5, &env_a);
  EXPECT_EQ(engine.get_value_env("n", VT_INT, &number, &env_a), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(number, 77);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "没有对应的变量,name[n]\n")});
}

TEST_F(ScriptAccess, AnEnvironmentVariableOfAnotherTypeIsRefused) {
  engine.set_env("n", 5, &env_a);
  EXPECT_EQ(engine.get_value_env("n", VT_STRING, &text, &env_a), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(text, "untouched");
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "变量:(n)类型不匹配")});
}

TEST_F(ScriptAccess, AnEnvironmentTakesAnUnknownTypeThatCannotBeRead) {
  EXPECT_EQ(engine.set_value_env("x", kUnknownType, &number, &env_a), ec::SCRIPT_OK);
  EXPECT_EQ(engine.get_value_env("x", kUnknownType, &number, &env_a), ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "value type error:7")});
}

TEST_F(ScriptAccess, NullArgumentsOfAnEnvironmentWriteChangeNothing) {
  EXPECT_EQ(engine.set_value_env("x", VT_INT, nullptr, &env_a), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "参数错误")});
  log.clear();
  EXPECT_EQ(engine.set_value_env(nullptr, VT_INT, nullptr, &env_a), ec::SCRIPT_E_PARAM);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "param is error: vname=0x0, pdata=0x0\n")});
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{"no", "table"}}));
}

TEST_F(ScriptAccess, DroppingAnEnvironmentWithoutVariablesIsNotLogged) {
  EXPECT_EQ(engine.drop_environment(&env_a), ec::SCRIPT_NOT_FOUND);
  EXPECT_EQ(log.records(), std::vector<Record>());
}

TEST_F(ScriptAccess, ADroppedEnvironmentHasNoTable) {
  engine.set_env("n", 5, &env_a);
  EXPECT_EQ(engine.drop_environment(&env_a), ec::SCRIPT_OK);
  EXPECT_EQ(log.records(), std::vector<Record>());
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{"no", "table"}}));
  EXPECT_FALSE(engine.modified());
}

TEST_F(ScriptAccess, DroppingLogsEachValueOfAnUnknownType) {
  engine.set_value_env("x", kUnknownType, &number, &env_a);
  EXPECT_EQ(engine.drop_environment(&env_a), ec::SCRIPT_OK);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "错误的类型，0x7")});
}

TEST_F(ScriptAccess, RecordsComeFromTheOperationThatReports) {
  engine.get_value("x", VT_INT, &number);
  engine.rm_value("x");
  engine.get_value_env("x", VT_INT, &number, &env_a);
  const std::vector<Record> records = log.records();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_NE(records[0].location.find("CScript::report("), std::string::npos) << records[0].location;
  EXPECT_NE(records[1].location.find("::rm_value("), std::string::npos) << records[1].location;
  EXPECT_NE(records[2].location.find("fwbase/script/script.cpp("), std::string::npos)
      << records[2].location;
}

// Each allocation of an operation fails in turn, whatever its form.
template <typename Operation>
void fail_each_allocation(ScriptEngine& engine, LogCapture& log, Operation operation) {
  log.type(IRunLog::ERROR);
  const Shown values = engine.values();
  const Shown env_values = engine.env_values(&env_a);
  for (int n = 1;; ++n) {
    log.clear();
    ec::EC result;
    {
      const FailingNew memory(n, FailingNew::ANY);
      result = operation();
      if (!memory.has_failed()) {
        EXPECT_EQ(result, ec::SCRIPT_OK);
        EXPECT_GT(n, 1) << "nothing was allocated";
        return;
      }
    }
    EXPECT_EQ(result, ec::SCRIPT_NO_MEMORY) << "allocation " << n;
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].message.rfind(test::gbk("申请内存失败"), 0), 0u);
    EXPECT_EQ(engine.values(), values);
    EXPECT_EQ(engine.env_values(&env_a), env_values);
  }
}

const std::string kLong(200, 'l');

TEST_F(ScriptAccess, AWriteWithoutMemoryChangesNothing) {
  fail_each_allocation(engine, log,
                       [&] { return engine.CScript::set_value(kLong.c_str(), VT_STRING, &kLong); });
  engine.remember(kLong);
  EXPECT_EQ(engine.values(), (Shown{{kLong, "string " + kLong}}));
}

TEST_F(ScriptAccess, AnEnvironmentWriteWithoutMemoryChangesNothing) {
  fail_each_allocation(engine, log, [&] {
    return engine.CScript::set_value_env(kLong.c_str(), VT_STRING, &kLong, &env_a);
  });
  engine.remember(kLong);
  EXPECT_EQ(engine.env_values(&env_a), (Shown{{kLong, "string " + kLong}}));
}

TEST_F(ScriptAccess, AReadWithoutMemoryLeavesTheOutputAlone) {
  engine.set("s", kLong);
  std::string last = "untouched";
  fail_each_allocation(engine, log, [&] {
    EXPECT_EQ(last, "untouched");
    return engine.get_value("s", VT_STRING, &last);
  });
  EXPECT_EQ(last, kLong);
}

TEST_F(ScriptAccess, AnEnvironmentReadWithoutMemoryLeavesTheOutputAlone) {
  engine.set_value_env(kLong.c_str(), VT_STRING, &kLong, &env_a);
  std::string last = "untouched";
  fail_each_allocation(engine, log, [&] {
    EXPECT_EQ(last, "untouched");
    return engine.get_value_env(kLong.c_str(), VT_STRING, &last, &env_a);
  });
  EXPECT_EQ(last, kLong);
}

}  // namespace
