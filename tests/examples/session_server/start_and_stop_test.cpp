// How the session server starts, what it refuses to start with, and how it stops.
#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

#include "tests/examples/session_server/server_process.h"
#include "tests/harness/run_program.h"

using fwbase::test::ProgramResult;
using fwbase::test::read_file;
using fwbase::test::run_program;
using fwbase::test::server_script;
using fwbase::test::ServerProcess;
using fwbase::test::TempDir;
using fwbase::test::TestClient;
using fwbase::test::write_file;

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t place = text.find(from);
  EXPECT_NE(place, std::string::npos) << from;
  return place == std::string::npos ? text : text.replace(place, from.size(), to);
}

struct Start : testing::Test {
  ProgramResult start(const std::string& script, const std::string& module,
                      const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {SESSION_SERVER, "--script", script,    "--module",
                                          module,         "--log",    log_path()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_program(arguments);
  }
  std::string log_path() const { return directory.path("server.log"); }
  std::string script(const std::string& text) {
    write_file(directory.path("server.xml"), text);
    return directory.path("server.xml");
  }

  TempDir directory;
};

using SessionServerStart = Start;

}  // namespace

TEST(SessionServerOptions, AreRefusedWithStatus2AndOneLine) {
  struct Case {
    std::vector<std::string> arguments;
    std::string problem;
  };
  const std::vector<Case> cases = {
      {{}, "option --script is missing"},
      {{"--script", "x"}, "option --module is missing"},
      {{"--script"}, "option --script needs a value"},
      {{"--script", ""}, "option --script needs a value"},
      {{"--speed", "9"}, "unknown option '--speed'"},
      {{"server.xml"}, "unknown option 'server.xml'"},
      {{"--port", "65536"}, "option --port needs a number from 0 to 65535, not '65536'"},
      {{"--port", "-1"}, "option --port needs a number from 0 to 65535, not '-1'"},
      {{"--port", "80x"}, "option --port needs a number from 0 to 65535, not '80x'"},
      {{"--port", ""}, "option --port needs a number from 0 to 65535, not ''"},
      {{"--threads", "0"}, "option --threads needs a number from 1 to 256, not '0'"},
      {{"--idle-seconds", "0"}, "option --idle-seconds needs a number from 1 to 86400, not '0'"},
      {{"\x1B[2J\x9B\u009B"}, "unknown option '\\x1b[2J\\x9b\\xc2\\x9b'"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> arguments = {SESSION_SERVER};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    const ProgramResult result = run_program(arguments);
    EXPECT_EQ(result.status, 2) << c.problem;
    EXPECT_EQ(result.out, "") << c.problem;
    EXPECT_EQ(result.err, "session_server: " + c.problem + "; --help lists the options\n");
  }
}

TEST(SessionServerOptions, HelpListsThem) {
  const ProgramResult result = run_program({SESSION_SERVER, "--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out.find("usage: session_server --script FILE --module FILE"), 0u);
}

TEST_F(SessionServerStart, NamesAFileThatIsMissing) {
  const std::string missing = directory.path("缺少");
  ProgramResult result = start(missing, SESSION_MODULE);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "session_server: cannot read " + missing + ": No such file or directory\n");

  result = start(script(server_script()), missing);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "session_server: cannot read " + missing + ": No such file or directory\n");
}

TEST_F(SessionServerStart, NamesTheLogThatCannotBeOpened) {
  const std::string log = directory.path("missing/server.log");
  const ProgramResult result = run_program({SESSION_SERVER, "--script", script(server_script()),
                                            "--module", SESSION_MODULE, "--log", log});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "session_server: cannot open the log " + log + ": No such file or directory\n");
}

TEST_F(SessionServerStart, SaysThatAModuleOrAScriptIsNoneAndLeavesTheReasonInTheLog) {
  const std::string text = directory.path("text.so");
  write_file(text, "no library");
  ProgramResult result = start(script(server_script()), text);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.find("session_server: cannot load the module " + text + ": "), 0u);
  EXPECT_NE(read_file(log_path()).find("file too short"), std::string::npos);

  const std::string unknown = script(replaced(server_script(), "\"upper\"", "\"lower\""));
  result = start(unknown, SESSION_MODULE);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.find("session_server: cannot load the script " + unknown + ": "), 0u);
  EXPECT_NE(read_file(log_path()).find("upper"), std::string::npos);
}

TEST_F(SessionServerStart, ReleasesAModuleWhoseInitHasFailed) {
  const ProgramResult result = start(script(server_script()), SESSION_INIT_FAILS);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.find("session_server: cannot load the module " SESSION_INIT_FAILS ": "), 0u);
  EXPECT_NE(read_file(log_path()).find("released by the host"), std::string::npos);
}

TEST_F(SessionServerStart, RefusesMoreSessionsThanTheLimitOfDescriptorsAllows) {
  const ProgramResult result =
      run_program({"/bin/sh", "-c", "ulimit -n 300; exec \"$@\"", "sh", SESSION_SERVER, "--script",
                   script(server_script()), "--module", SESSION_MODULE, "--log", log_path(),
                   "--max-sessions", "45"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "session_server: serving 45 at a time takes 301 descriptors, but the limit "
            "(ulimit -Hn) is 300\n");
}

TEST(SessionServerLimit, LowersTheNumberOfSessionsThatWasNotGiven) {
  ServerProcess server({}, server_script(), 300);
  {
    TestClient client(server);
    EXPECT_EQ(client.line(), "hello 0");
  }
  EXPECT_EQ(server.stop(), 0);
  EXPECT_NE(server.log().find("44 sessions at a time: the limit of descriptors is 300"),
            std::string::npos);
}

TEST_F(SessionServerStart, SaysThatAPortIsTaken) {
  const ServerProcess server;
  const std::string port = std::to_string(server.port());
  const ProgramResult result = start(script(server_script()), SESSION_MODULE, {"--port", port});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "session_server: cannot listen on 127.0.0.1:" + port + ": Address already in use\n");
}

TEST(SessionServerStop, ClosesSessionsAndSavesCountersThatGoOnAtTheNextStart) {
  ServerProcess server;
  {
    TestClient idle(server);
    TestClient busy(server);
    EXPECT_EQ(idle.line(), "hello 0");
    EXPECT_EQ(busy.line(), "hello 0");
    EXPECT_EQ(busy.ask("echo a"), "ok 1 a");
    EXPECT_EQ(busy.ask("dance"), "error 2 unknown command");
    ASSERT_TRUE(busy.send(std::string("\0\n", 2)));
    EXPECT_EQ(busy.line(), "error 3 line contains a zero byte");
    ::kill(server.pid(), SIGTERM);
    EXPECT_EQ(idle.line(), "(closed)");
    EXPECT_EQ(busy.line(), "(closed)");
  }
  EXPECT_EQ(server.wait(), 0);
  EXPECT_EQ(server.counter("sessions"), "2");
  EXPECT_EQ(server.counter("lines"), "2");
  EXPECT_EQ(server.counter("bytes"), "11");
  EXPECT_EQ(server.counter("refused"), "1");

  server.start();
  {
    TestClient client(server);
    EXPECT_EQ(client.line(), "hello 0");
    EXPECT_EQ(client.ask("echo b"), "ok 1 b");
  }
  ::kill(server.pid(), SIGINT);
  EXPECT_EQ(server.wait(), 0);
  EXPECT_EQ(server.counter("sessions"), "3");
  EXPECT_EQ(server.counter("lines"), "3");
}

TEST(SessionServerStop, CountsBeyond32Bits) {
  ServerProcess server({}, replaced(server_script(), R"("bytes" type="string" value="0")",
                                    R"("bytes" type="string" value="4294967295")"));
  {
    TestClient client(server);
    EXPECT_EQ(client.line(), "hello 0");
    EXPECT_EQ(client.ask("echo b"), "ok 1 b");
  }
  EXPECT_EQ(server.stop(), 0);
  EXPECT_EQ(server.counter("bytes"), "4294967301");
}

TEST(SessionServerStop, ASessionWhoseScriptFailsIsDroppedWithARecord) {
  ServerProcess server({}, replaced(server_script(), "<otherwise>error</otherwise>",
                                    "<otherwise>missing</otherwise>"));
  TestClient client(server);
  EXPECT_EQ(client.line(), "hello 0");
  EXPECT_EQ(client.ask("echo a"), "ok 1 a");
  ASSERT_TRUE(client.send("dance\n"));
  const std::string end = client.line();
  EXPECT_TRUE(end == "(closed)" || end == "(reset)") << end;
  EXPECT_EQ(server.stop(), 0);
  EXPECT_NE(server.log().find("session 1 dropped: section 'line' ended with SCRIPT_E_SECTION"),
            std::string::npos);
}

TEST(SessionServerLog, HasARecordForEachLineAndSessionWhenAskedTo) {
  ServerProcess server({"--log-lines"});
  {
    TestClient client(server);
    EXPECT_EQ(client.line(), "hello 0");
    EXPECT_EQ(client.ask("echo a"), "ok 1 a");
    EXPECT_EQ(client.ask("quit"), "bye 2");
    EXPECT_EQ(client.line(), "(closed)");
  }
  EXPECT_EQ(server.stop(), 0);
  const std::string log = server.log();
  const std::size_t first = log.find("\r\n >session 1: line 1\n");
  const std::size_t second = log.find("\r\n >session 1: line 2\n");
  const std::size_t closed = log.find("\r\n >session 1: closed after lines: 2\n");
  ASSERT_NE(closed, std::string::npos);
  EXPECT_LT(first, second);
  EXPECT_LT(second, closed);
}
