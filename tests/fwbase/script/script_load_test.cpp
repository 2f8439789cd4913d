#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>

#include "fwbase/runlog/runlog.h"
#include "tests/fwbase/script/script_engine.h"
#include "tests/harness/code_page.h"
#include "tests/harness/failing_new.h"
#include "tests/utility/xml/xml_file.h"

namespace {

using namespace fwbase;
using namespace fwbase::test;
using Texts = std::vector<std::string>;
using Shown = ScriptEngine::Shown;

std::string korvid(const std::string& children) { return "<korvid>" + children + "</korvid>"; }

// A file with function f() and these children of the process.
std::string with_process(const std::string& children) {
  return korvid("<template><Func name='f'/></template><Process name=''>" + children + "</Process>");
}

class ScriptLoad : public testing::Test {
 protected:
  ScriptLoad() { engine.expand_syntax(&f); }

  LogCapture log;
  HostFunction f{"f"};
  ScriptEngine engine;
};

TEST_F(ScriptLoad, AWholeFileFillsTheTables) {
  EXPECT_EQ(
      engine.load_text("<?xml version='1.0'?><!-- c --><korvid>text<template/><Process name=''>"
                       "<Exec><section name='b'><f/><f><ret>x</ret></f></section></Exec>"
                       "<Data><var name='x' type='int' value='1'/></Data>"
                       "<Exec/><Exec><section name='a'/><other/></Exec></Process><other/>"
                       "<template><Func name='g'/></template><template><Func name='f'/></template>"
                       "</korvid>"),
      ec::SCRIPT_OK);
  EXPECT_EQ(engine.func_names(), (Texts{"f", "g"}));
  EXPECT_EQ(engine.section_names(), (Texts{"a", "b"}));
  EXPECT_EQ(engine.calls("b"), (Texts{"f()", "f()->x"}));
  EXPECT_TRUE(engine.calls("a").empty());
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 1"}}));
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptLoad, APathThatIsNullOrEmptyChangesNothingAndTakesNoLock) {
  ASSERT_EQ(engine.load_text(korvid("<Process name=''/>")), ec::SCRIPT_OK);
  const char* const empty = "";
  test::while_written(engine, [&] {
    errno = 0;
    EXPECT_EQ(engine.load_script(nullptr), ec::SCRIPT_E_PARAM);
    EXPECT_EQ(engine.load_script(empty), ec::SCRIPT_E_PARAM);
    EXPECT_EQ(errno, 0);  // EDEADLK from the lock
  });
  char of_empty[60];
  std::snprintf(of_empty, sizeof of_empty, "脚本名错误: czName=%x\n", fwbase::addr32(empty));
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "脚本名错误: czName=0\n"),
                                        record(IRunLog::ERROR, of_empty)}));
}

TEST_F(ScriptLoad, AMissingFileCannotBeLoadedAndItsPathIsKept) {
  const TempDir directory;
  const std::string path = directory.path("missing.xml");
  EXPECT_EQ(engine.load_script(path.c_str()), ec::SCRIPT_E_LOAD);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "加载脚本出错, File[" + path + "], Xec[32]\n")});
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);  // there is a path, and nothing has changed
}

constexpr const char* kNotWellFormed[] = {
    "",
    " ",
    "text",
    "<korvid>",
    "<korvid></Korvid>",
    "<korvid/><korvid/>",
    "<korvid><Process name=></korvid>",
    "<korvid><Process name='' name=''/></korvid>",
    "<korvid>&undefined;</korvid>",
    "<korvid>\x01</korvid>",
    "<korvid>\xff</korvid>",
    "<?xml version='1.0' encoding='no-such'?><korvid/>",
};

TEST_F(ScriptLoad, AFileThatIsNotWellFormedCannotBeLoaded) {
  for (const char* const text : kNotWellFormed) {
    log.clear();
    const ScriptFile file(text);
    EXPECT_EQ(engine.load_script(file.path()), ec::SCRIPT_E_LOAD) << text;
    EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, std::string("加载脚本出错, File[") +
                                                                    file.path() + "], Xec[4]\n")})
        << text;
  }
  EXPECT_EQ(engine.load_text(korvid("<Process name=''/>")), ec::SCRIPT_OK);
}

TEST_F(ScriptLoad, ADamagedFileCannotBeLoaded) {
  const std::string script = korvid("<Process name=''/>");
  const std::string utf16 = "\xFF\xFE" + encoded("UTF-16LE", script);
  ASSERT_EQ(engine.load_text(utf16), ec::SCRIPT_OK);
  const std::string files[] = {
      "<?xml version='1.0' encoding='HZ-GB-2312'?>" + script + "<!--~{V ~}-->",
      "<?xml version='1.0' encoding='ISO-2022-JP'?>" + script + "<!--\x1B$B))\x1B(B-->",
      "<?xml version='1.0' encoding='GBK'?>" + script + "\xD6",
      script + "\xE4\xB8",
      utf16 + "\n",
  };
  for (const std::string& text : files) {
    log.clear();
    EXPECT_EQ(engine.load_text(text), ec::SCRIPT_E_LOAD) << text;
    EXPECT_EQ(log.records().size(), 1u) << text;
  }
}

TEST_F(ScriptLoad, AFileThatCostsTooMuchCannotBeLoaded) {
  std::string bomb = "<!DOCTYPE korvid [<!ENTITY e0 'text'>";
  for (int i = 1; i < 20; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY e" + std::to_string(i) + " '" + inner + inner + inner + "'>";
  }
  const std::string levels = repeated("<a>", 100'000) + repeated("</a>", 100'000);
  const std::string files[] = {
      bomb + "]><korvid><Process name=''>&e19;</Process></korvid>",
      bomb + "]><korvid><Process name='&e19;'/></korvid>",
      "<korvid><Process name=''><Exec><section name='s'>" + levels +
          "</section></Exec></Process></korvid>",
      levels,
  };
  run_with_stack(kSmallStack, [&] {
    for (const std::string& text : files) {
      log.clear();
      EXPECT_EQ(engine.load_text(text), ec::SCRIPT_E_LOAD) << text.substr(0, 60);
      EXPECT_EQ(log.records().size(), 1u) << text.substr(0, 60);
    }
  });
  EXPECT_EQ(engine.load_text(korvid("<Process name=''/>")), ec::SCRIPT_OK);
}

TEST_F(ScriptLoad, AnotherRootIsRefusedAndThePathIsKept) {
  const ScriptFile file("<Korvid/>");
  EXPECT_EQ(engine.load_script(file.path()), ec::SCRIPT_E_ROOT_NAME);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "XML 根节点不是指定的节点，[Korvid]\n")});
  EXPECT_EQ(engine.save_script(), ec::SCRIPT_OK);  // there is a path, and nothing has changed
}

TEST_F(ScriptLoad, ARootNameThatTheCodePageCannotExpressIsRefused) {
  const CodePage page("US-ASCII");
  EXPECT_EQ(engine.load_text("<\xE4\xB8\xAD/>"), ec::SCRIPT_E_ROOT_NAME);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "XML 根节点不是指定的节点，[]\n")});
}

TEST_F(ScriptLoad, WithoutProcessTheTemplatesAreRegisteredAllTheSame) {
  EXPECT_EQ(engine.load_text(korvid("<template><Func name='f'/></template><process name=''/>")),
            ec::SCRIPT_NO_PROCESS);
  EXPECT_EQ(engine.func_names(), Texts{"f"});
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "进程节点数目不能为0\n")});
}

TEST_F(ScriptLoad, TemplatesComeBeforeProcessesWhereverTheyStand) {
  EXPECT_EQ(engine.load_text(korvid("<Process name=''><Exec><section name='s'><f/></section></Exec>"
                                    "</Process><template><Func name='f'/></template>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("s"), Texts{"f()"});
}

TEST_F(ScriptLoad, AFailureOfATemplateEndsTheLoad) {
  EXPECT_EQ(engine.load_text(korvid("<template><Func/></template><template><Func name='f'/>"
                                    "</template><Process name=''>"
                                    "<Data><var name='x' type='int' value='1'/></Data></Process>")),
            ec::SCRIPT_E_ATTR);
  EXPECT_TRUE(engine.func_names().empty());
  EXPECT_TRUE(engine.values().empty());
}

TEST_F(ScriptLoad, AProcessWithANameIsSkippedSilently) {
  EXPECT_EQ(engine.load_text(korvid("<Process name='p'><Data><var/></Data><Exec><section/></Exec>"
                                    "</Process>")),
            ec::SCRIPT_OK);
  EXPECT_TRUE(engine.section_names().empty());
  EXPECT_TRUE(log.records().empty());
}

TEST_F(ScriptLoad, AProcessNeedsAName) {
  EXPECT_EQ(engine.load_text(korvid("<Process name=''><Exec><section name='s'/></Exec></Process>"
                                    "<Process/>")),
            ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得进程name属性失败, XEC[24]\n")});
  EXPECT_EQ(engine.section_names(), Texts{"s"});
}

TEST_F(ScriptLoad, DataIsReadBeforeSections) {
  EXPECT_EQ(engine.load_text(with_process("<Exec><section name='s'/></Exec><Data><var/></Data>")),
            ec::SCRIPT_E_ATTR);
  EXPECT_TRUE(engine.section_names().empty());
}

TEST_F(ScriptLoad, ASectionNeedsAName) {
  EXPECT_EQ(engine.load_text(with_process("<Exec><section/></Exec>")), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "获得section节点的name属性失败\n")});
}

TEST_F(ScriptLoad, SectionNamesAreUniqueInTheWholeFile) {
  EXPECT_EQ(engine.load_text(korvid("<template><Func name='f'/></template>"
                                    "<Process name=''><Exec><section name='s'><f/></section></Exec>"
                                    "</Process><Process name=''><Exec><section name='t'/>"
                                    "<section name='s'/><section name='u'/></Exec></Process>")),
            ec::SCRIPT_E_SECTION_DUP);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "名字为[s]的section已经存在\n")});
  EXPECT_EQ(engine.section_names(), (Texts{"s", "t"}));
  EXPECT_EQ(engine.calls("s"), Texts{"f()"});
  EXPECT_EQ(engine.exec_scommad("s", nullptr), ec::SCRIPT_OK);
}

TEST_F(ScriptLoad, ASectionInsideASectionIsACall) {
  EXPECT_EQ(engine.load_text(with_process("<Exec><section name='s'><section name='t'/></section>"
                                          "</Exec>")),
            ec::SCRIPT_NO_RULE);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "函数[section]没有在模板中定义\n")});
  EXPECT_EQ(engine.section_names(), Texts{"s"});
}

TEST_F(ScriptLoad, AnEmptySectionNameIsAName) {
  EXPECT_EQ(engine.load_text(with_process("<Exec><section name=''><f/></section></Exec>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.exec_scommad("", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(f.calls().size(), 1u);
}

TEST_F(ScriptLoad, AFailedSectionDoesNotStandInTheWayOfALaterLoad) {
  EXPECT_EQ(engine.load_text(with_process("<Exec><section name='s'><f/><g/></section></Exec>")),
            ec::SCRIPT_NO_RULE);
  EXPECT_EQ(engine.calls("s"), Texts{"f()"});
  EXPECT_EQ(engine.load_text(korvid("<Process name=''><Exec><section name='t'><f/></section></Exec>"
                                    "</Process>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.calls("t"), Texts{"f()"});
}

TEST_F(ScriptLoad, ASecondLoadOfTheSameFileFailsAtItsFirstFunction) {
  const ScriptFile file(with_process("<Exec><section name='s'/></Exec>"));
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(engine.load_script(file.path()), ec::SCRIPT_FUNC_EXISTS);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "同名函数已经存在，Func[f]\n")});
  engine.release();
  engine.init();
  engine.expand_syntax(&f);
  EXPECT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
}

TEST_F(ScriptLoad, ASecondFileAddsToTheFirst) {
  ASSERT_EQ(engine.load_text(with_process("<Data><var name='x' type='int' value='1'/></Data>"
                                          "<Exec><section name='s'><f/></section></Exec>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.load_text(korvid("<Process name=''><Data><var name='y' type='int' value='2'/>"
                                    "</Data><Exec><section name='t'><f/></section></Exec>"
                                    "</Process>")),
            ec::SCRIPT_OK);
  EXPECT_EQ(engine.values(), (Shown{{"x", "int 1"}, {"y", "int 2"}}));
  EXPECT_EQ(engine.section_names(), (Texts{"s", "t"}));
}

TEST_F(ScriptLoad, WithoutInitNothingIsLoaded) {
  CScript uninitialised;
  const ScriptFile file(korvid("<Process name=''/>"));
  engine.release();  // leaves the XML platform to nobody
  EXPECT_EQ(uninitialised.load_script(file.path()), ec::SCRIPT_E_LOAD);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, std::string("加载脚本出错, File[") +
                                                                  file.path() + "], Xec[2]\n")});
  EXPECT_EQ(uninitialised.exec_scommad("s", nullptr), ec::SCRIPT_E_SECTION);
  const std::int32_t one = 1;
  EXPECT_EQ(uninitialised.set_value("x", IScript::VT_INT, &one), ec::SCRIPT_OK);
  EXPECT_EQ(uninitialised.save_script(), ec::SCRIPT_E_FORMAT);
}

TEST_F(ScriptLoad, NamesThatTheCodePageCannotExpressAreErrors) {
  const CodePage page("US-ASCII");
  EXPECT_EQ(engine.load_text(korvid("<Process name='&#x4E2D;'/>")), ec::SCRIPT_E_ATTR);
  EXPECT_EQ(engine.load_text(with_process("<Exec><section name='&#x4E2D;'/></Exec>")),
            ec::SCRIPT_E_ATTR);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::ERROR, "获得进程name属性失败, XEC[26]\n"),
                         record(IRunLog::ERROR, "获得section节点的name属性失败\n")}));
}

// Out of memory.

constexpr const char* kFile =
    "<korvid><template><Func name='a_function_with_a_long_name'>"
    "<param tag='a_number' type='int'/><param tag='a_text' type='string' must='false'/></Func>"
    "</template><Process name=''>"
    "<Data><var name='a_variable_with_a_long_name' type='string' value='a value that is long'/>"
    "<var name='n' type='int' value='5'/></Data>"
    "<Exec><section name='a_section_with_a_long_name'><a_function_with_a_long_name>"
    "<a_number>5</a_number><ret>a_result_with_a_long_name</ret></a_function_with_a_long_name>"
    "<a_function_with_a_long_name><a_number><ref>n</ref></a_number>"
    "<a_text>a text that is long enough</a_text></a_function_with_a_long_name>"
    "</section></Exec></Process></korvid>";

class ScriptLoadMemory : public testing::Test {
 protected:
  void start() {
    engine.release();
    engine.init();
    engine.expand_syntax(&f);
    log.type(IRunLog::ERROR);
    log.clear();
  }

  LogCapture log;
  HostFunction f{"a_function_with_a_long_name", {IScript::VT_INT, IScript::VT_STRING}};
  ScriptEngine engine;
  ScriptFile file{kFile};
};

TEST_F(ScriptLoadMemory, EachFailedAllocationGivesACodeAndLeavesAUsableEngine) {
  int failures = 0;
  for (int n = 1;; ++n) {
    start();
    ec::EC result;
    {
      const FailingNew memory(n, FailingNew::ANY);
      result = engine.CScript::load_script(file.path());
      if (!memory.has_failed()) {
        EXPECT_EQ(result, ec::SCRIPT_OK);
        break;
      }
    }
    ++failures;
    ASSERT_EQ(log.records().size(), 1u);
    const std::string message = utf8(log.records()[0].message);
    if (result == ec::SCRIPT_E_LOAD) {
      EXPECT_EQ(message, std::string("加载脚本出错, File[") + file.path() + "], Xec[2]\n");
    } else {
      EXPECT_EQ(result, ec::SCRIPT_NO_MEMORY) << "allocation " << n;
      EXPECT_EQ(message.rfind("申请内存失败", 0), 0u) << message;
    }
    EXPECT_EQ(engine.set("x", 1), ec::SCRIPT_OK);
    const ec::EC run = engine.exec_scommad("a_section_with_a_long_name", nullptr);
    EXPECT_TRUE(run == ec::SCRIPT_OK || run == ec::SCRIPT_E_SECTION) << run;
  }
  EXPECT_GT(failures, 0);
}

TEST_F(ScriptLoadMemory, ASectionThatCannotBeBegunBlocksFurtherSections) {
  const std::string other = korvid("<Process name=''><Exec><section name='t'/></Exec></Process>");
  const ScriptFile second(other);
  int blocked = 0;
  for (int n = 1; blocked == 0; ++n) {
    start();
    {
      const FailingNew memory(n, FailingNew::ANY);
      engine.CScript::load_script(file.path());
      ASSERT_TRUE(memory.has_failed());
    }
    if (engine.CScript::load_script(second.path()) != ec::SCRIPT_SECTION_NESTED) {
      continue;
    }
    ++blocked;
    EXPECT_EQ(log.records(), (std::vector{record(IRunLog::ERROR, "申请内存失败\n"),
                                          record(IRunLog::ERROR, "section不允许嵌套\n")}));
    EXPECT_EQ(engine.exec_scommad("a_section_with_a_long_name", nullptr), ec::SCRIPT_E_SECTION);
    engine.release();
    engine.init();
    EXPECT_EQ(engine.load_text(other), ec::SCRIPT_OK);
  }
}

}  // namespace
