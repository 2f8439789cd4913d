// Clients that end early, vanish, do not read, send nothing, or are too many.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/examples/session_server/server_process.h"

using namespace std::chrono_literals;

using fwbase::test::ServerProcess;
using fwbase::test::TestClient;

TEST(SessionServerClients, LinesBeforeTheClientsEndAreAnsweredAndAPartOfOneIsNot) {
  ServerProcess server;
  TestClient client(server);
  ASSERT_TRUE(client.send("echo a\necho b\necho c"));
  client.end_output();
  EXPECT_EQ(client.line(), "hello 0");
  EXPECT_EQ(client.line(), "ok 1 a");
  EXPECT_EQ(client.line(), "ok 2 b");
  EXPECT_EQ(client.line(), "(closed)");
  EXPECT_EQ(server.stop(), 0);
  EXPECT_EQ(server.counter("lines"), "2");
}

TEST(SessionServerClients, LinesBehindQuitAreNotAnswered) {
  ServerProcess server;
  TestClient client(server);
  ASSERT_TRUE(client.send("quit\necho a\necho b\n"));
  EXPECT_EQ(client.line(), "hello 0");
  EXPECT_EQ(client.line(), "bye 1");
  EXPECT_EQ(client.line(), "(closed)");
  client.close();
  EXPECT_EQ(server.stop(), 0);
  EXPECT_EQ(server.counter("lines"), "1");
}

TEST(SessionServerClients, OnesThatVanishDoNotDisturbTheOthers) {
  constexpr int kClients = 200;
  ServerProcess server;
  TestClient steady(server);
  EXPECT_EQ(steady.line(), "hello 0");
  for (int i = 1; i <= kClients; ++i) {
    TestClient client(server);
    if (i % 2 == 0) {
      EXPECT_EQ(client.line(), "hello 0");
    }
    EXPECT_TRUE(client.send("echo a\necho b\nech"));
    client.vanish();
    EXPECT_EQ(steady.ask("echo c"), "ok " + std::to_string(i) + " c");
  }
  EXPECT_EQ(steady.ask("quit"), "bye " + std::to_string(kClients + 1));
  steady.close();
  EXPECT_EQ(server.stop(), 0);
}

TEST(SessionServerClients, OneThatDoesNotReadIsNotReadFromAndIsDroppedInTheEnd) {
  ServerProcess server({"--stall-seconds", "1"});
  TestClient steady(server);
  EXPECT_EQ(steady.line(), "hello 0");
  TestClient deaf(server);
  const std::string line = "echo " + std::string(4000, 'x') + "\n";
  while (deaf.send(line)) {  // until all buffers are full, then until it is dropped
  }
  EXPECT_EQ(steady.ask("echo a"), "ok 1 a");
  steady.close();
  EXPECT_EQ(server.stop(), 0);
  EXPECT_NE(server.log().find("session 2 dropped: its client does not read"), std::string::npos);
}

TEST(SessionServerClients, OneTooManyWaitsUntilASessionEnds) {
  const ServerProcess server({"--max-sessions", "2"});
  TestClient first(server);
  TestClient second(server);
  EXPECT_EQ(first.line(), "hello 0");
  EXPECT_EQ(second.line(), "hello 0");
  TestClient third(server);
  ASSERT_TRUE(third.send("echo waiting\n"));
  EXPECT_EQ(second.ask("quit"), "bye 1");
  second.close();
  EXPECT_EQ(third.line(), "hello 0");
  EXPECT_EQ(third.line(), "ok 1 waiting");
  EXPECT_EQ(first.ask("echo a"), "ok 1 a");
}

TEST(SessionServerClients, AnIdleOneIsEndedAndANewcomerHasItsPlace) {
  ServerProcess server({"--max-sessions", "1", "--idle-seconds", "1", "--log-lines"});
  TestClient idle(server);
  EXPECT_EQ(idle.line(), "hello 0");
  TestClient newcomer(server);
  EXPECT_EQ(newcomer.line(), "hello 0");  // though the idle one does not even close
  EXPECT_EQ(idle.line(), "(closed)");
  newcomer.close();
  EXPECT_EQ(server.stop(), 0);
  const std::string log = server.log();
  EXPECT_NE(log.find("session 1 ended: its client has sent no line for 1 s"), std::string::npos);
  EXPECT_NE(log.find(" >session 1: closed after lines: 0"), std::string::npos);
}

TEST(SessionServerClients, OneThatSendsNoWholeLineIsIdle) {
  const ServerProcess server({"--idle-seconds", "1"});
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  int sent = 0;
  while (!client.ends_within(100ms) && client.send("x")) {
    ++sent;
  }
  EXPECT_GT(sent, 0);
  EXPECT_LT(sent, 4096);  // where its line would be too long
}

TEST(SessionServerClients, OneThatSendsLinesIsNotIdleHoweverLongItStays) {
  ServerProcess server({"--idle-seconds", "2"});
  TestClient busy(server);
  EXPECT_EQ(busy.line(), "hello 0");
  TestClient idle(server);
  EXPECT_EQ(idle.line(), "hello 0");
  int lines = 0;
  while (!idle.ends_within(10ms)) {
    ++lines;
    ASSERT_EQ(busy.ask("echo a"), "ok " + std::to_string(lines) + " a");
  }
  EXPECT_EQ(busy.ask("quit"), "bye " + std::to_string(lines + 1));
  idle.close();
  busy.close();
  EXPECT_EQ(server.stop(), 0);
  EXPECT_EQ(server.log().find("session 1 ended"), std::string::npos);
}
