// Processes that a library starts: none of them outlives fwmod.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "tests/tools/fwmod/fwmod_program.h"

using fwbase::test::run_program;

namespace fwmod::test {
namespace {

constexpr char kDaemon[] = "process \"collector\": it still runs, as a daemon; end it in release()";

bool exists(const std::string& process) { return access(("/proc/" + process).c_str(), F_OK) == 0; }

// fwmod with its standard error as a pipe, which ends when nobody has its other end open.
class Running {
 public:
  explicit Running(std::vector<std::string> arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    m_output = ends[0];
    arguments.insert(arguments.begin(), FWMOD_PROGRAM);
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    // A test runner in the background may ignore signals.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int error = posix_spawn(&m_process, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) {
      throw std::runtime_error("fwmod cannot be started");
    }
  }
  ~Running() { close(m_output); }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  std::string line() const {
    std::string text;
    for (char byte = 0; read(m_output, &byte, 1) == 1 && byte != '\n';) {
      text += byte;
    }
    return text;
  }
  void expect_end_by(int signal) const {
    kill(m_process, signal);
    int status = 0;
    waitpid(m_process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), signal);
    EXPECT_EQ(line(), "");  // returns when all have ended that could write
  }

 private:
  pid_t m_process = 0;
  int m_output = -1;
};

// What standard error has: the number that the daemon printed.
void expect_daemon_killed(const ProgramResult& result) {
  ASSERT_EQ(result.err.find_first_not_of("0123456789"), result.err.size() - 1) << result.err;
  EXPECT_FALSE(exists(result.err.substr(0, result.err.size() - 1)));
}

}  // namespace

TEST(FwmodProcesses, TheEndIsToldWhereFwmodIsStartedWithSigchldIgnored) {
  const std::string path = fault("crashes_on_loading");
  const ProgramResult result =
      run_program({"/bin/sh", "-c", "trap '' CHLD; exec \"$@\"", "sh", FWMOD_PROGRAM, path});
  EXPECT_EQ(result.out, path + ": crashes while loading: SIGSEGV (Segmentation fault)\n");
  EXPECT_EQ(result.status, 1);
}

TEST(FwmodProcesses, ADaemonIsReportedAndKilled) {
  const std::string path = fault("leaves_daemon");
  const ProgramResult result = run_fwmod({"--exercise", path});
  EXPECT_EQ(result.out, path + ": sound, but leaves behind:\n  " + kDaemon + "\n");
  EXPECT_EQ(result.status, 3);
  expect_daemon_killed(result);
}

TEST(FwmodProcesses, ADaemonIsReportedWithoutExercise) {
  const std::string path = fault("leaves_daemon_on_loading");
  const ProgramResult result = run_fwmod({path});
  EXPECT_EQ(result.out, path + ": sound, but leaves behind:\n  " + kDaemon + "\n");
  EXPECT_EQ(result.status, 3);
  expect_daemon_killed(result);
}

TEST(FwmodProcesses, ADaemonDoesNotKeepTheOutputOpen) {
  // "cat" ends when nobody can write to it any more.
  const ProgramResult result = run_program({"/bin/sh", "-c", "\"$@\" 2>&1 | cat", "sh",
                                            FWMOD_PROGRAM, "--exercise", fault("leaves_daemon")});
  EXPECT_NE(result.out.find(kDaemon), std::string::npos) << result.out;
}

TEST(FwmodProcesses, ADaemonThatEndsIsNotLeftBehind) {
  expect_exercise(0, "sound_daemon",
                  "ok: module created, initialised and released; nothing left behind");
}

TEST(FwmodProcesses, OneThatChangesItsGroupIsKilledAtTheTimeout) {
  const std::string path = fault("hangs_in_other_group");
  const ProgramResult result = run_fwmod({"--exercise", "--timeout=5", path});
  EXPECT_EQ(result.out, path + ": hangs in init(): killed after 5 s\n");
  EXPECT_EQ(result.status, 1);
  expect_daemon_killed(result);
}

TEST(FwmodProcesses, AllAreKilledWhenFwmodIsInterruptedOrKilled) {
  for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
    const Running fwmod({"--exercise", "--timeout=3600", fault("hangs_in_other_group")});
    EXPECT_TRUE(exists(fwmod.line()));
    fwmod.expect_end_by(signal);
  }
}

TEST(FwmodProcesses, ThoseThatFwmodWasStartedWithAreSpared) {
  const ProgramResult result =
      run_program({"/bin/sh", "-c", "sleep 3600 > /dev/null & echo $! >&2; exec \"$@\"", "sh",
                   FWMOD_PROGRAM, "--exercise", fault("leaves_daemon")});
  EXPECT_EQ(result.out,
            fault("leaves_daemon") + ": sound, but leaves behind:\n  " + kDaemon + "\n");
  EXPECT_EQ(kill(std::stoi(result.err), SIGKILL), 0);
}

}  // namespace fwmod::test
