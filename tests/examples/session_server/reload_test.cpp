// SIGHUP: the session server goes on with another script.
#include <gtest/gtest.h>

#include <string>

#include "tests/examples/session_server/server_process.h"

using fwbase::test::server_script;
using fwbase::test::ServerProcess;
using fwbase::test::TestClient;

namespace {

// The script of the example with a command "shout".
std::string script_with_shout() {
  std::string text = server_script();
  const std::string before = "<section name=\"command echo\">";
  const std::size_t place = text.find(before);
  EXPECT_NE(place, std::string::npos);
  return text.insert(place,
                     "<section name=\"command shout\">"
                     "<reply><status>HO</status><number><ref>number</ref></number></reply>"
                     "</section>");
}

// Asks until the log has that.
void wait_for_record(const ServerProcess& server, TestClient& client, const std::string& record) {
  while (server.log().find(record) == std::string::npos) {
    ASSERT_EQ(client.ask("echo").substr(0, 3), "ok ");
  }
}

}  // namespace

TEST(SessionServerReload, ASessionGoesOnWithTheNewScript) {
  ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  EXPECT_EQ(client.ask("set colour grey"), "ok 1");
  EXPECT_EQ(client.ask("shout"), "error 2 unknown command");
  server.reload(script_with_shout());
  wait_for_record(server, client, "takes effect");
  EXPECT_EQ(client.ask("shout").substr(0, 3), "HO ");
  EXPECT_NE(client.ask("get colour").find(" grey"), std::string::npos);
  client.close();
  EXPECT_EQ(server.stop(), 0);
  EXPECT_EQ(server.counter("sessions"), "1");
}

TEST(SessionServerReload, AFaultyScriptChangesNothingAndItsPlaceIsLogged) {
  ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  server.reload("<korvid>\n  <template/>\n</korvid>\n");
  wait_for_record(server, client, "the script stays as it was");
  EXPECT_NE(server.log().find("server.xml:1:1: error: "), std::string::npos) << server.log();
  EXPECT_EQ(client.ask("quit").substr(0, 4), "bye ");
}
