// --journal: what the session server has logged is in its log, also when it was killed.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/examples/session_server/server_process.h"

using fwbase::test::ServerProcess;
using fwbase::test::TestClient;

namespace {

// The numbers of the lines whose records are in the log, in its order.
std::vector<int> logged_lines(const std::string& log) {
  const std::string before = "\r\n >session 1: line ";
  std::vector<int> lines;
  for (std::size_t at = log.find(before); at != log.npos; at = log.find(before, at + 1)) {
    const std::size_t end = log.find('\n', at + before.size());
    if (end != log.npos) {
      lines.push_back(std::stoi(log.substr(at + before.size(), end - at - before.size())));
    }
  }
  return lines;
}

// From 1 on, each once.
std::vector<int> all_lines_to(std::size_t last) {
  std::vector<int> lines(last);
  std::generate(lines.begin(), lines.end(), [line = 0]() mutable { return ++line; });
  return lines;
}

// Each line has its record before it has its reply.
std::size_t answer_some(const ServerProcess& server) {
  constexpr std::size_t kRead = 50;
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  std::string lines;
  for (int i = 0; i < 200; ++i) {
    lines += "echo a\n";
  }
  EXPECT_TRUE(client.send(lines));
  for (std::size_t i = 1; i <= kRead; ++i) {
    EXPECT_EQ(client.line(), "ok " + std::to_string(i) + " a");
  }
  ::kill(server.pid(), SIGKILL);
  return kRead;
}

}  // namespace

// Until there were records that waited when it was killed.
TEST(SessionServerJournal, RecordsThatWaitWhenItIsKilledAreAppendedOnceByTheNextStart) {
  std::size_t waiting = 0;
  while (waiting == 0 && !HasFailure()) {
    ServerProcess server({"--journal", "--log-lines", "--threads", "1"});
    const std::size_t answered = answer_some(server);
    ASSERT_EQ(server.wait(), 128 + SIGKILL);
    const std::string left = server.log();

    server.start();
    EXPECT_EQ(server.stop(), 0);
    const std::string recovered = server.log();
    const std::vector<int> lines = logged_lines(recovered);
    EXPECT_EQ(recovered.substr(0, left.size()), left);
    EXPECT_GE(lines.size(), answered);
    EXPECT_EQ(lines, all_lines_to(lines.size()));

    server.start();
    EXPECT_EQ(server.stop(), 0);
    EXPECT_EQ(logged_lines(server.log()), lines);
    waiting = lines.size() - logged_lines(left).size();
  }
}
