#include <gtest/gtest.h>

#include <locale>

#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/code_page.h"
#include "tests/harness/failing_new.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Shown = ScriptEngine::Shown;

constexpr auto VT_INT = IScript::VT_INT;

std::string process(const std::string& children) {
  return "<korvid><Process name=\"\">" + children + "</Process></korvid>";
}

class ScriptData : public testing::Test {
 protected:
  ec::EC load_vars(const std::string& vars) {
    return engine.load_text(process("<Data>" + vars + "</Data>"));
  }

  // The file's root element after a save: what comes behind the XML declaration.
  static std::string root_of(const ScriptFile& file) {
    const std::string text = file.text();
    const std::size_t root = text.find("<korvid");
    return root == std::string::npos ? "no root in: " + text : text.substr(root);
  }

  LogCapture log;
  ScriptEngine engine;
};

// Reading.

TEST_F(ScriptData, VariablesGetTheirTypesAndValues) {
  EXPECT_EQ(load_vars("<var name='n' type='int' value=' -12ab'/>"
                      "<var name='s' type='string' value=' a &lt;b&gt; '/>"
                      "<var name='none' type='int' value='text'/>"
                      "<var name='empty' type='string' value=''/>"
                      "<var name='' type='int' value='1'/>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"n", "int -12"},
                                    {"s", "string  a <b> "},
                                    {"none", "int 0"},
                                    {"empty", "string "},
                                    {"", "int 1"}}));
  EXPECT_FALSE(engine.modified());
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptData, NumbersOutOfRangeAreTheNearestLimit) {
  EXPECT_EQ(load_vars("<var name='a' type='int' value='2147483648'/>"
                      "<var name='b' type='int' value='-99999999999'/>"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"a", "int 2147483647"}, {"b", "int -2147483648"}}));
}

TEST_F(ScriptData, ALaterVariableReplacesAnEarlierOneWhateverItsType) {
  EXPECT_EQ(engine.load_text(process("<Data><var name='x' type='int' value='1'/></Data>"
                                     "<Data><var name='x' type='string' value='2'/></Data>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "string 2"}}));
}

TEST_F(ScriptData, OtherElementsAreIgnored) {
  EXPECT_EQ(load_vars("text<Var/><var name='x' type='int' value='1'><var/></var><!-- c -->"),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 1"}}));
}

TEST_F(ScriptData, AnUnknownTypeIsRefused) {
  EXPECT_EQ(load_vars("<var name='a' type='int' value='1'/><var name='b' type='Int' value='1'/>"
                      "<var name='c' type='int' value='1'/>"),
            ec::SCRIPT_BAD_PARAM);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "不能识别的参数类型，Int\n")});
  EXPECT_EQ(engine.values(), (Shown{{"a", "int 1"}}));
}

TEST_F(ScriptData, NameValueAndTypeAreRequiredInThisOrder) {
  EXPECT_EQ(load_vars("<var/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(load_vars("<var name='x'/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(load_vars("<var name='x' value='1'/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "获得节点的name属性失败，XEC[24]"),
                         record(IRunLog::ERROR, "获得节点的value属性失败，XEC[24]"),
                         record(IRunLog::ERROR, "获得节点的type属性失败，XEC[24]")}));
  EXPECT_TRUE(engine.values().empty());
}

TEST_F(ScriptData, AttributesThatTheCodePageCannotExpressAreErrors) {
  const CodePage page("US-ASCII");
  EXPECT_EQ(load_vars("<var name='&#x4E2D;' value='1' type='int'/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(load_vars("<var name='x' value='&#x4E2D;' type='string'/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(load_vars("<var name='x' value='1' type='&#x4E2D;'/>"), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "获得节点的name属性失败，XEC[26]"),
                         record(IRunLog::ERROR, "获得节点的value属性失败，XEC[26]"),
                         record(IRunLog::ERROR, "获得节点的type属性失败，XEC[26]")}));
  EXPECT_TRUE(engine.values().empty());
}

// Saving.

TEST_F(ScriptData, NothingLoadedIsNothingToSave) {
  engine.set("x", 1);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_E_SAVE);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "脚本文件名为空，可能文件未被加载")});
}

TEST_F(ScriptData, AnUnmodifiedScriptIsNotWritten) {
  const std::string text = process("<Data><var name='x' type='int' value='1'/></Data>");
  const ScriptFile file(text);
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  file.remove();
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_FALSE(file.exists());
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptData, SetValuesReachTheFileAndEnvironmentsDoNot) {
  const ScriptFile file(process(""));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set_env("e", 5, nullptr);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(file.text(), process(""));
  engine.set("x", -5);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(root_of(file), process("<Data><var name=\"x\" type=\"int\" value=\"-5\"/></Data>"));
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptData, VariablesAreWrittenByNameWithTheirAttributesInOrder) {
  const ScriptFile file(
      process("<Data><var name='c' type='int' value='3'/>"
              "<var name='a' type='string' value='1'/></Data>"));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("b", 2);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(root_of(file), process("<Data><var name=\"a\" type=\"string\" value=\"1\"/>"
                                   "<var name=\"b\" type=\"int\" value=\"2\"/>"
                                   "<var name=\"c\" type=\"int\" value=\"3\"/></Data>"));
}

TEST_F(ScriptData, SeveralDataElementsBecomeOneInFrontOfTheOtherChildren) {
  const ScriptFile file(
      "<korvid><Process name=\"\">front<Exec/><Data><var name='x' type='int' value='1'/></Data>"
      "<other/><Data><var name='x' type='int' value='2'/></Data></Process></korvid>");
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("y", 3);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(root_of(file), process("front<Data><var name=\"x\" type=\"int\" value=\"2\"/>"
                                   "<var name=\"y\" type=\"int\" value=\"3\"/></Data>"
                                   "<Exec/><other/>"));
}

TEST_F(ScriptData, DataWithEntityReferencesIsReplaced) {
  const ScriptFile file("<!DOCTYPE korvid [<!ENTITY v \"<var name='a'/>\">]>" +
                        process("<Data>&v;<var name='x' type='int' value='1'/></Data>"));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", 2);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_TRUE(file.text().ends_with(
      "]>" + process("<Data><var name=\"x\" type=\"int\" value=\"2\"/></Data>")))
      << file.text();
}

TEST_F(ScriptData, WithoutVariablesAnEmptyDataElementRemains) {
  const ScriptFile file(process("<Data><var name='x' type='int' value='1'/></Data><Data/>"));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(engine.rm_value("x"), ec::SCRIPT_OK);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(root_of(file), process("<Data/>"));
}

TEST_F(ScriptData, OnlyTheProcessWithoutNameIsChanged) {
  const ScriptFile file(
      "<korvid><Process name=\"named\"><Data/></Process><Process name=\"\"/>"
      "<Process name=\"\"><Data/></Process></korvid>");
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", 1);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(root_of(file),
            "<korvid><Process name=\"named\"><Data/></Process><Process name=\"\">"
            "<Data><var name=\"x\" type=\"int\" value=\"1\"/></Data></Process>"
            "<Process name=\"\"><Data/></Process></korvid>");
}

TEST_F(ScriptData, EverySaveAfterAChangeWrites) {
  const ScriptFile file(process(""));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", 1);
  ASSERT_EQ(engine.save_script(), ec::SCRIPT_OK);
  const std::string saved = file.text();
  file.remove();
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(file.text(), saved);
}

TEST_F(ScriptData, WhatIsSavedIsLoadedAgain) {
  const Shown values{{"", "int 0"},
                     {"a<b>&\"'", "string <>&\"' \t\n\r x"},
                     {"max", "int 2147483647"},
                     {"min", "int -2147483648"},
                     {"\xE5\x90\x8D", "string \xE4\xB8\xAD\xE6\x96\x87"}};
  const ScriptFile file(process(""));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("", 0);
  engine.set("a<b>&\"'", "<>&\"' \t\n\r x");
  engine.set("max", 2147483647);
  engine.set("min", -2147483647 - 1);
  engine.set("\xE5\x90\x8D", "\xE4\xB8\xAD\xE6\x96\x87");
  ASSERT_EQ(engine.save_script(), ec::SCRIPT_OK);
  ScriptEngine other;
  ASSERT_EQ(other.load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(other.values(), values);
}

TEST_F(ScriptData, NumbersAreWrittenWithoutTheLocale) {
  struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };
  const ScriptFile file(process(""));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", 1234567);
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  std::locale::global(before);
  EXPECT_EQ(root_of(file),
            process("<Data><var name=\"x\" type=\"int\" value=\"1234567\"/></Data>"));
}

TEST_F(ScriptData, WhatWasLoadedIsSavedWhateverTheFileIsMeanwhile) {
  const ScriptFile file(process("<!-- loaded --><Exec/>"));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  write_file(file.path(), "something else");
  engine.set("x", 1);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(
      root_of(file),
      process("<!-- loaded --><Data><var name=\"x\" type=\"int\" value=\"1\"/></Data><Exec/>"));
}

TEST_F(ScriptData, AVariableOfAnUnknownTypeThatIsReplacedIsLogged) {
  const std::int32_t number = 1;
  engine.set_value_env("x", kUnknownType, &number, nullptr);
  EXPECT_TRUE(log.records().empty());
  engine.set_env("x", 5, nullptr);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "错误的类型，0x7")});
}

TEST_F(ScriptData, AProcessThatIsMissingCannotBeSaved) {
  const ScriptFile file("<korvid><Process name=\"named\"/></korvid>");
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", 1);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_NO_PROCESS);
  EXPECT_TRUE(log.records().empty());
  EXPECT_EQ(file.text(), "<korvid><Process name=\"named\"/></korvid>");
}

TEST_F(ScriptData, AProcessWithoutNameAttributeEndsTheSearch) {
  const ScriptFile file("<korvid><Process/><Process name=\"\"/></korvid>");
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_E_ATTR);
  engine.set("x", 1);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_NO_PROCESS);
}

TEST_F(ScriptData, AFailedLoadLeavesNoDocumentToSave) {
  const ScriptFile file(process(""));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", 1);
  ASSERT_EQ(engine.load_text("not XML"), ec::SCRIPT_E_LOAD);
  log.clear();
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_E_FORMAT);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得根节点失败\n")});
  EXPECT_EQ(file.text(), process(""));
}

TEST_F(ScriptData, AFileThatCouldNotBeLoadedIsTheOneToSaveAllTheSame) {
  EXPECT_EQ(engine.load_text("not XML"), ec::SCRIPT_E_LOAD);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK) << "nothing has changed";
  engine.set("x", 1);
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_E_FORMAT);
}

TEST_F(ScriptData, AStringThatIsNoTextCannotBeSavedAndTheFileStays) {
  const ScriptFile file(process("<Data/>"));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", "\xff");
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_E_SET_ATTR);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "插入属性出错\n, XEC[26]\n")});
  EXPECT_EQ(file.text(), process("<Data/>"));
  engine.set("x", "text");
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
  EXPECT_EQ(root_of(file),
            process("<Data><var name=\"x\" type=\"string\" value=\"text\"/></Data>"));
}

TEST_F(ScriptData, WhatXmlCannotHoldIsNotSavedAndTheFileStays) {
  const struct {
    std::string value;
    ec::EC code;
    const char* message;
  } cases[] = {
      {"a\x01", ec::SCRIPT_E_SAVE_XML, "保存脚本失败, XEC[5]"},
      {std::string("a\0b", 3), ec::SCRIPT_E_SET_ATTR, "插入属性出错\n, XEC[26]\n"},
  };
  for (const auto& wrong : cases) {
    const ScriptFile file(process("<Data/>"));
    ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
    engine.set("x", wrong.value);
    log.clear();
    EXPECT_EQ(engine.save_script(), wrong.code);
    EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, wrong.message)});
    EXPECT_EQ(file.text(), process("<Data/>"));
    EXPECT_EQ(engine.rm_value("x"), ec::SCRIPT_OK);
    EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);
    EXPECT_EQ(root_of(file), process("<Data/>"));
  }
}

TEST_F(ScriptData, AFileThatCannotBeWrittenIsAnError) {
  const ScriptFile file(process(""));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set("x", 1);
  std::filesystem::remove_all(file.directory());
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_E_SAVE_XML);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "保存脚本失败, XEC[5]")});
}

// Elements that come from an entity are read-only.
// Each allocation of a save fails in turn, whatever its form.
TEST_F(ScriptData, ASaveWithoutMemoryLeavesTheFileAndTheNextOneWorks) {
  const std::string before = process("<Data/>");
  const ScriptFile file(before);
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  engine.set(std::string(100, 'n'), std::string(100, 'v'));
  for (int n = 1;; ++n) {
    log.clear();
    ec::EC result;
    {
      const FailingNew memory(n, FailingNew::ANY);
      result = engine.save_script();
      if (!memory.has_failed()) {
        EXPECT_EQ(result, ec::SCRIPT_OK);
        EXPECT_GT(n, 1);
        break;
      }
    }
    if (result == ec::SCRIPT_OK) {  // it only hindered giving memory back
      EXPECT_NE(file.text(), before);
      write_file(file.path(), before);
    } else if (result == ec::SCRIPT_NO_MEMORY) {
      EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "申请内存失败")});
    } else {
      EXPECT_EQ(result, ec::SCRIPT_E_SAVE_XML) << "allocation " << n;
    }
    EXPECT_EQ(file.text(), before);
  }
  EXPECT_EQ(root_of(file),
            process("<Data><var name=\"" + std::string(100, 'n') + "\" type=\"string\" value=\"" +
                    std::string(100, 'v') + "\"/></Data>"));
}

}  // namespace
