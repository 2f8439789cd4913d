#include <gtest/gtest.h>

#include "tests/harness/script_file.h"
#include "tests/tools/fwrun/fwrun_program.h"

using fwbase::test::ScriptFile;

namespace fwrun::test {
namespace {

constexpr char kScript[] = R"(<korvid>
  <template>
    <Func name="f">
      <param tag="text" type="string"/>
      <param tag="n" type="int" must="true"/>
      <param tag="many" type="int" must="false" defaultval="3"/>
      <param tag="few" type="int" must="false"/>
      <param tag="note" type="string" must="false"/>
    </Func>
    <Func name="g"/>
  </template>
  <template><Func name="h"><param tag="a" type="string"/></Func></template>
  <Process name="">
    <Data>
      <var name="count" type="int" value="-1"/>
      <var name="名称" type="string" value="a &quot;b&quot; \ 值&#10;"/>
    </Data>
    <Exec>
      <section name="first">
        <f><text> 负载 </text><n><ref>count</ref></n><ignored>1</ignored><ret>r</ret></f>
        <g/>
        <h><params><a>1</a></params><params><a><ref>r</ref></a></params></h>
        <unknown><a>1</a></unknown>
      </section>
    </Exec>
    <Exec><section name="empty"/></Exec>
  </Process>
  <Process name="other"><Exec><section name="unread"/></Exec></Process>
</korvid>)";

constexpr char kListing[] = R"(sections:
  first
    f(text="负载", n=$count) -> r
    g()
    h(a="1")
    h(a=$r)
    unknown(a="1")  (no Func declares it)
  empty
functions:
  f(text: string, n: int, many: int = 3, few: int = 0, note: string = "")
  g()
  h(a: string)
variables:
  count: int = -1
  名称: string = "a \"b\" \\ 值\n"
passed over, since only a Process without a name is read:
  Process "other"
)";

}  // namespace

TEST(FwrunListing, ShowsAllThatTheScriptHolds) {
  const ScriptFile script(kScript);
  const ProgramResult result = run_fwrun({"--list", script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, kListing);
  EXPECT_EQ(script.text(), kScript);
}

TEST(FwrunListing, IsWhatAScriptWithSeveralSectionsGivesWithoutSection) {
  const ScriptFile script(
      "<korvid><Process name=\"\"><Exec><section name=\"a\"/>"
      "<section name=\"b\"/></Exec></Process></korvid>");
  const ProgramResult result = run_fwrun({script.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "sections:\n  a\n  b\nfunctions:\nvariables:\n");
  EXPECT_EQ(result.err, std::string("fwrun: '") + script.path() +
                            "' has several sections; name those to run: a, b\n");
}

TEST(FwrunListing, IsWhatAScriptWithoutSectionsGives) {
  const ScriptFile script("<korvid><Process name=\"\"/></korvid>");
  const ProgramResult result = run_fwrun({script.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "sections:\nfunctions:\nvariables:\n");
}

TEST(FwrunListing, FailsForAFileThatIsNoScript) {
  const ScriptFile broken("<korvid><template></korvid>");
  const ScriptFile other("<html/>");
  const ScriptFile external("<!DOCTYPE korvid [<!ENTITY e SYSTEM \"e.xml\">]><korvid>&e;</korvid>");
  const struct {
    std::string path;
    const char* reason;
  } kCases[] = {
      {broken.directory() + "/none.xml", "No such file or directory"},
      {broken.directory(), "it is not a regular file"},
      {broken.path(), kNotReadable},
      {external.path(), kNotReadable},
      {other.path(), "its root element is 'html', not 'korvid'"},
  };
  for (const auto& one : kCases) {
    const ProgramResult result = run_fwrun({"--list", one.path});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "fwrun: cannot list '" + one.path + "': " + one.reason + "\n");
  }
}

}  // namespace fwrun::test
