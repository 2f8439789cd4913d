// The script engine as a host program uses it: public headers, the facade, the shared library.
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/harness/host_function.h"
#include "tests/harness/script_file.h"

namespace {

using namespace fwbase;
using fwbase::test::HostFunction;
using fwbase::test::ScriptFile;

constexpr const char* kScript =
    "<korvid><template><Func name='greet'><param tag='whom' type='string'/>"
    "<param tag='times' type='int' must='false' defaultval='1'/></Func></template>"
    "<Process name=''><Data><var name='greeting' type='string' value='Hello'/>"
    "<var name='count' type='int' value='0'/></Data><Exec>"
    "<section name='all'><greet><params><whom>world</whom></params>"
    "<params><whom><ref>friend</ref></whom><times>2</times><ret>last</ret></params></greet>"
    "</section></Exec></Process></korvid>";

class ScriptHost : public testing::Test {
 protected:
  ScriptHost() { EXPECT_TRUE(ec::succeeded(IFWBase::instance()->init())); }
  ~ScriptHost() override { IFWBase::instance()->release(); }

  IScript& script() { return *IFWBase::instance()->script(); }

  std::string string_value(const char* name) {
    std::string value;
    EXPECT_TRUE(ec::succeeded(script().get_value(name, IScript::VT_STRING, &value)));
    return value;
  }

  int m_env = 0;
  HostFunction m_greet{"greet", {IScript::VT_STRING, IScript::VT_INT}};
};

TEST_F(ScriptHost, RunsASectionFromLoadingToSaving) {
  const ScriptFile file(kScript);
  m_greet.set_body([this](const IScript::VValue* args, void* env, const char* ret) {
    std::string greeting = string_value("greeting") + ", " + args[0].string_value;
    const std::int32_t count = args[1].int_value;
    EXPECT_EQ(script().set_value("count", IScript::VT_INT, &count), ec::SCRIPT_OK);
    return ret == nullptr ? ec::SCRIPT_OK
                          : script().set_value_env(ret, IScript::VT_STRING, &greeting, env);
  });
  ASSERT_TRUE(script().expand_syntax(&m_greet));
  ASSERT_EQ(script().load_script(file.path()), ec::SCRIPT_OK);
  const std::string name = "friend of the host";
  ASSERT_EQ(script().set_value_env("friend", IScript::VT_STRING, &name, &m_env), ec::SCRIPT_OK);
  EXPECT_EQ(script().exec_scommad("all", &m_env), ec::SCRIPT_OK);

  EXPECT_EQ(m_greet.calls(),
            (std::vector<std::string>{"greet('world',1)", "greet('friend of the host',2)->last"}));
  EXPECT_EQ(m_greet.envs(), (std::vector<void*>{&m_env, &m_env}));
  std::string last;
  EXPECT_EQ(script().get_value_env("last", IScript::VT_STRING, &last, &m_env), ec::SCRIPT_OK);
  EXPECT_EQ(last, "Hello, friend of the host");

  ASSERT_EQ(script().save_script(), ec::SCRIPT_OK);
  const std::string saved = file.text();
  EXPECT_NE(saved.find("<Data><var name=\"count\" type=\"int\" value=\"2\"/>"
                       "<var name=\"greeting\" type=\"string\" value=\"Hello\"/></Data>"),
            std::string::npos)
      << saved;
}

TEST_F(ScriptHost, AReleasedEngineServesAgainAfterInit) {
  const ScriptFile file(kScript);
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(script().expand_syntax(&m_greet));
    ASSERT_EQ(script().load_script(file.path()), ec::SCRIPT_OK);
    EXPECT_EQ(script().exec_scommad("all", nullptr), ec::SCRIPT_OK);
    script().release();
    EXPECT_EQ(script().exec_scommad("all", nullptr), ec::SCRIPT_E_SECTION);
    ASSERT_EQ(script().init(), ec::SCRIPT_OK);
  }
  EXPECT_EQ(m_greet.calls().size(), 4u);
}

TEST_F(ScriptHost, AFailedFileLeavesAnEngineThatLoadsTheNextOne) {
  ASSERT_TRUE(script().expand_syntax(&m_greet));
  EXPECT_EQ(script().load_script("/no such directory/script.xml"), ec::SCRIPT_E_LOAD);
  EXPECT_EQ(script().load_script(ScriptFile("<korvid>").path()), ec::SCRIPT_E_LOAD);
  EXPECT_EQ(script().load_script(ScriptFile(kScript).path()), ec::SCRIPT_OK);
}

TEST_F(ScriptHost, AnExceptionOfAFunctionReachesTheHostAcrossTheLibrary) {
  ASSERT_TRUE(script().expand_syntax(&m_greet));
  ASSERT_EQ(script().load_script(ScriptFile(kScript).path()), ec::SCRIPT_OK);
  m_greet.set_body([](const IScript::VValue*, void*, const char*) -> ec::EC {
    throw std::string("from the host");
  });
  EXPECT_THROW(script().exec_scommad("all", nullptr), std::string);
  EXPECT_EQ(string_value("greeting"), "Hello");
}

}  // namespace
