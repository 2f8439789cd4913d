// <fwbase/reload.h> as a host uses it.
#include <fwbase/function.h>
#include <fwbase/ifwbase.h>
#include <fwbase/reload.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/harness/script_file.h"

namespace {

using fwbase::IFWBase;
using fwbase::test::ScriptFile;

std::string script(const std::string& name) {
  return "<korvid><template><Func name='count'/></template><Process name=''><Exec><section name='" +
         name + "'><count/></section></Exec></Process></korvid>";
}

struct Reload : testing::Test {
  Reload() { IFWBase::instance()->init(); }
  ~Reload() override { IFWBase::instance()->release(); }

  static ec::EC run(const char* section) {
    return IFWBase::instance()->script()->exec_scommad(section, nullptr);
  }

  int m_count = 0;
  fwbase::Function m_function{"count", "Counts.", {}, [this] { ++m_count; }};
};

}  // namespace

TEST_F(Reload, ReplacesTheScriptOfTheEngine) {
  ASSERT_TRUE(IFWBase::instance()->script()->expand_syntax(&m_function));
  ASSERT_EQ(IFWBase::instance()->script()->load_script(ScriptFile(script("first")).path()),
            ec::SCRIPT_OK);
  ASSERT_EQ(fwbase::reload_script(ScriptFile(script("second")).path()), ec::SCRIPT_OK);
  EXPECT_EQ(run("first"), ec::SCRIPT_E_SECTION);
  EXPECT_EQ(run("second"), ec::SCRIPT_OK);
  EXPECT_EQ(m_count, 1);
}

TEST_F(Reload, GivesWhatIsWrong) {
  std::vector<fwbase::Finding> findings;
  EXPECT_EQ(fwbase::reload_script(ScriptFile(script("s")).path(), &findings), ec::SCRIPT_NO_RULE);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule, "unregistered-function");
  EXPECT_EQ(run("s"), ec::SCRIPT_E_SECTION);
}

TEST_F(Reload, NeedsTheLibraryInService) {
  IFWBase::instance()->release();
  std::vector<fwbase::Finding> findings;
  EXPECT_EQ(fwbase::reload_script(ScriptFile(script("s")).path(), &findings), ec::SCRIPT_E_LOAD);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].message, "the file cannot be read: the library is not in service");
}
