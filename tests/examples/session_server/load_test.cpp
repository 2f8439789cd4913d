// The load program finds what is wrong with a server.
#include <gtest/gtest.h>

#include <string>

#include "tests/examples/session_server/server_process.h"
#include "tests/harness/run_program.h"

using fwbase::test::ProgramResult;
using fwbase::test::run_program;
using fwbase::test::server_script;
using fwbase::test::ServerProcess;

TEST(SessionLoad, FindsAWrongReply) {
  std::string script = server_script();
  const std::string answer = "<ref>answer</ref>";  // of "upper"
  script.replace(script.find(answer), answer.size(), "<ref>rest</ref>");
  const ServerProcess server({}, script);
  const ProgramResult result = run_program(
      {SESSION_LOAD, "--port", std::to_string(server.port()), "--sessions", "3", "--lines", "8"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("expects 'ok 5 V"), std::string::npos) << result.err;
}

TEST(SessionLoad, ShowsControlCharactersOfAReplyEscaped) {
  std::string script = server_script();
  script.replace(script.find("1.0"), 3, "1.1");
  const std::string answer = "<ref>answer</ref>";  // of "upper"
  script.replace(script.find(answer), answer.size(), "&#x1b;[2J&#x9b;31m&#9;\u4E9B");
  const ServerProcess server({}, script);
  const ProgramResult result = run_program(
      {SESSION_LOAD, "--port", std::to_string(server.port()), "--sessions", "1", "--lines", "8"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("not 'ok 5 \\x1b[2J\\xc2\\x9b31m\\x09\u4E9B'\n"), std::string::npos)
      << result.err;
}

TEST(SessionLoad, SaysThatTheLimitOfDescriptorsIsTooLow) {
  const ProgramResult result = run_program({"/bin/sh", "-c", "ulimit -n 300; exec \"$@\"", "sh",
                                            SESSION_LOAD, "--port", "1", "--sessions", "1000"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "session_load: 1000 sessions take 1016 descriptors, but the limit (ulimit -Hn) is "
            "300\n");
}

TEST(SessionLoad, FindsSessionsThatAreClosedEarly) {
  ServerProcess server;
  const ProgramResult result =
      run_program({SESSION_LOAD, "--port", std::to_string(server.port()), "--sessions", "3",
                   "--lines", "100", "--terminate", std::to_string(server.pid()), "--after", "30"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("sessions were closed early"), std::string::npos) << result.err;
  EXPECT_EQ(server.wait(), 0);
}
