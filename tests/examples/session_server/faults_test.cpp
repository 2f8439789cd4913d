// What a fault of the module's code, or of the system, does to the server.
#include <gtest/gtest.h>

#include <string>

#include <fwbase/fwbase.h>

#include "tests/examples/session_server/server_process.h"

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::test::ServerProcess;
using fwbase::test::TempDir;
using fwbase::test::TestClient;

namespace {

/// A script that calls a function of the module "faults" for each line of a client.
std::string script_calling(const std::string& function) {
  return R"(<korvid>
  <template>
    <Func name=")" +
         function + R"("/>
    <Func name="store_counters"/>
  </template>
  <Process name="">
    <Data><var name="lines" type="string" value="0"/></Data>
    <Exec>
      <section name="open"/>
      <section name="line"><)" +
         function + R"(/></section>
      <section name="refuse"/>
      <section name="close"/>
      <section name="stop"><store_counters/></section>
    </Exec>
  </Process>
</korvid>
)";
}

/// Its end, when the server drops a session in which something is left to read.
void expect_end(TestClient& client) {
  const std::string end = client.line();
  EXPECT_TRUE(end == "(closed)" || end == "(reset)") << end;
}

}  // namespace

TEST(SessionServerFaults, AnExceptionEndsItsSessionAndTheServerGoesOn) {
  for (const std::string function : {"exhaust_memory", "throw_number"}) {
    ServerProcess server({"--module", SESSION_FAULTS, "--threads", "1"}, script_calling(function));
    for (int i = 0; i < 3; ++i) {  // more than there are threads
      TestClient client(server);
      ASSERT_TRUE(client.send("a\n"));
      expect_end(client);
    }
    EXPECT_EQ(server.stop(), 0) << function;
    EXPECT_EQ(server.counter("lines"), "stored") << function;
    EXPECT_NE(server.log().find("session 3 dropped: exception"), std::string::npos) << function;
  }
}

TEST(SessionServerFaults, AReactorThatFailsEndsTheServerWhichSavesItsCounters) {
  ServerProcess server({"--module", SESSION_FAULTS}, script_calling("close_epoll"));
  TestClient idle(server);
  TestClient client(server);
  ASSERT_TRUE(client.send("a\n"));
  expect_end(client);
  expect_end(idle);
  EXPECT_EQ(server.wait(), 1);
  EXPECT_EQ(server.counter("lines"), "stored");
  // The reason differs when a file that is opened meanwhile gets the number of the descriptor.
  EXPECT_NE(server.log().find("cannot wait for events: "), std::string::npos);
}

TEST(SessionModule, ItsFunctionsOutliveItUntilTheLibraryIsUnloaded) {
  const TempDir directory;
  const std::string script = directory.path("server.xml");
  fwbase::test::write_file(script, fwbase::test::server_script());
  IFWBase* const facade = IFWBase::instance();
  ASSERT_EQ(facade->init(), ec::FW_OK);
  IMM::IBase* module = nullptr;
  ASSERT_EQ(facade->mm()->create_module(module, SESSION_MODULE, "create_module", nullptr),
            ec::MM_OK);
  ASSERT_TRUE(facade->mm()->destroy_module(module));
  EXPECT_EQ(facade->script()->load_script(script.c_str()), ec::SCRIPT_OK);
  EXPECT_EQ(facade->script()->exec_scommad("stop", nullptr), ec::SCRIPT_OK);
  facade->release();
}
