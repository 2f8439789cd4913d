// What the session server answers.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/docs/markdown.h"
#include "tests/examples/session_server/server_process.h"

using fwbase::test::MarkdownPage;
using fwbase::test::ServerProcess;
using fwbase::test::TestClient;

TEST(SessionServerProtocol, GreetsAndAnswersEachCommandWithTheNumberOfItsLine) {
  const ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  EXPECT_EQ(client.ask("echo a  b "), "ok 1 a  b ");
  EXPECT_EQ(client.ask("upper Grey 1"), "ok 2 GREY 1");
  EXPECT_EQ(client.ask("set colour dark grey"), "ok 3");
  EXPECT_EQ(client.ask("get colour"), "ok 4 dark grey");
  EXPECT_EQ(client.ask("set colour"), "ok 5");
  EXPECT_EQ(client.ask("get colour"), "ok 6");
  EXPECT_EQ(client.ask("echo"), "ok 7");
  EXPECT_EQ(client.ask("quit"), "bye 8");
  EXPECT_EQ(client.line(), "(closed)");
}

TEST(SessionServerProtocol, AnswersAsItsReadmeShows) {
  const std::vector<std::string> blocks =
      MarkdownPage("examples/07_session_server/README.md").blocks("text");
  ASSERT_EQ(blocks.size(), 1u);
  std::istringstream transcript(blocks[0]);
  std::string sent;
  std::string received;
  ASSERT_TRUE(std::getline(transcript, sent));
  EXPECT_EQ(sent, "$ telnet 127.0.0.1 4000");
  ASSERT_TRUE(std::getline(transcript, received));
  const ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), received);
  while (std::getline(transcript, sent)) {
    ASSERT_TRUE(std::getline(transcript, received)) << sent;
    EXPECT_EQ(client.ask(sent), received) << sent;
  }
  EXPECT_EQ(client.line(), "(closed)");
}

TEST(SessionServerProtocol, TellsWhatIsWrongWithALineAndGoesOn) {
  const ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  EXPECT_EQ(client.ask("dance"), "error 1 unknown command");
  EXPECT_EQ(client.ask(""), "error 2 unknown command");
  EXPECT_EQ(client.ask("get colour"), "error 3 no value called 'colour'");
  EXPECT_EQ(client.ask("set"), "error 4 a value needs a name");
  EXPECT_EQ(client.ask("open"), "error 5 unknown command");
  EXPECT_EQ(client.ask("stop"), "error 6 unknown command");
  EXPECT_EQ(client.ask("echo still here"), "ok 7 still here");
}

TEST(SessionServerProtocol, AValueIsTheSessionsOwnAndGoneWithIt) {
  const ServerProcess server;
  TestClient first(server);
  TestClient second(server);
  EXPECT_EQ(first.line(), "hello 0");
  EXPECT_EQ(second.line(), "hello 0");
  EXPECT_EQ(first.ask("set colour red"), "ok 1");
  EXPECT_EQ(second.ask("get colour"), "error 1 no value called 'colour'");
  EXPECT_EQ(second.ask("set colour blue"), "ok 2");
  EXPECT_EQ(first.ask("get colour"), "ok 2 red");
  EXPECT_EQ(first.ask("quit"), "bye 3");
  EXPECT_EQ(first.line(), "(closed)");
  first.close();
  // Whichever object serves the third one, it finds nothing of the first.
  TestClient third(server);
  EXPECT_EQ(third.line(), "hello 0");
  EXPECT_EQ(third.ask("get colour"), "error 1 no value called 'colour'");
  EXPECT_EQ(second.ask("get colour"), "ok 3 blue");
}

TEST(SessionServerProtocol, AValueOfTheSessionHidesTheOneForAll) {
  const ServerProcess server;
  TestClient first(server);
  TestClient second(server);
  EXPECT_EQ(first.line(), "hello 0");
  EXPECT_EQ(second.line(), "hello 0");
  EXPECT_EQ(first.ask("get server"), "ok 1 fwbase session server");
  EXPECT_EQ(first.ask("set server mine"), "ok 2");
  EXPECT_EQ(first.ask("get server"), "ok 3 mine");
  EXPECT_EQ(first.ask("set server still mine"), "ok 4");
  EXPECT_EQ(first.ask("get server"), "ok 5 still mine");
  EXPECT_EQ(second.ask("get server"), "ok 1 fwbase session server");
}

TEST(SessionServerProtocol, ASessionHasSixteenValuesAtMost) {
  const ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  for (int i = 1; i <= 16; ++i) {
    EXPECT_EQ(client.ask("set name" + std::to_string(i) + " x"), "ok " + std::to_string(i));
  }
  EXPECT_EQ(client.ask("set one more"), "error 17 no more than 16 values");
  EXPECT_EQ(client.ask("set name1 other"), "ok 18");
  EXPECT_EQ(client.ask("get name1"), "ok 19 other");
}

TEST(SessionServerProtocol, LinesMayComeInPartsOrManyAtOnceAndEndAsTelnetEndsThem) {
  const ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  for (const char c : std::string("echo in parts\n")) {
    ASSERT_TRUE(client.send(std::string(1, c)));
  }
  EXPECT_EQ(client.line(), "ok 1 in parts");
  ASSERT_TRUE(client.send("echo a\r\necho b\n\necho c\nec"));
  EXPECT_EQ(client.line(), "ok 2 a");
  EXPECT_EQ(client.line(), "ok 3 b");
  EXPECT_EQ(client.line(), "error 4 unknown command");
  EXPECT_EQ(client.line(), "ok 5 c");
  EXPECT_EQ(client.ask("ho d"), "ok 6 d");
}

TEST(SessionServerProtocol, RefusesALineBeyondTheLimitOnceAndGoesOnBehindIt) {
  const ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  const std::string longest(4096 - 5, 'x');
  EXPECT_EQ(client.ask("echo " + longest), "ok 1 " + longest);
  EXPECT_EQ(client.ask("echo " + longest + "\r"), "ok 2 " + longest);
  EXPECT_EQ(client.ask("echo " + longest + "x"), "error 3 line is longer than 4096 bytes");
  EXPECT_EQ(client.ask(std::string(100000, 'x')), "error 4 line is longer than 4096 bytes");
  EXPECT_EQ(client.ask("echo still here"), "ok 5 still here");
}

TEST(SessionServerProtocol, RefusesALineWithAZeroByte) {
  const ServerProcess server;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  EXPECT_EQ(client.ask(std::string("echo a\0b", 8)), "error 1 line contains a zero byte");
  EXPECT_EQ(client.ask("echo a"), "ok 2 a");
}

TEST(SessionServerProtocol, AnswersManyLinesThatCameBeforeTheirRepliesAreRead) {
  constexpr int kLines = 5000;
  const ServerProcess server;
  TestClient client(server);
  const std::string text(200, 'x');
  std::string lines;
  for (int i = 0; i < kLines; ++i) {
    lines += "echo " + text + "\n";
  }
  ASSERT_TRUE(client.send(lines));
  EXPECT_EQ(client.line(), "hello 0");
  for (int i = 1; i <= kLines; ++i) {
    ASSERT_EQ(client.line(), "ok " + std::to_string(i) + " " + text);
  }
}
