#include "child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace fwmod {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(int error, const char* what) {
  throw std::system_error(error, std::generic_category(), what);
}

class Attributes {
 public:
  Attributes() {
    posix_spawnattr_init(&m_attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&m_attributes, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&m_attributes, &signals);
    posix_spawnattr_setpgroup(&m_attributes, 0);
    posix_spawnattr_setflags(
        &m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~Attributes() { posix_spawnattr_destroy(&m_attributes); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  const posix_spawnattr_t* get() const { return &m_attributes; }

 private:
  posix_spawnattr_t m_attributes;
};

class Actions {
 public:
  explicit Actions(int shared) {
    posix_spawn_file_actions_init(&m_actions);
    posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&m_actions, STDERR_FILENO, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&m_actions, shared, kSharedDescriptor);
  }
  ~Actions() { posix_spawn_file_actions_destroy(&m_actions); }
  Actions(const Actions&) = delete;
  Actions& operator=(const Actions&) = delete;

  const posix_spawn_file_actions_t* get() const { return &m_actions; }

 private:
  posix_spawn_file_actions_t m_actions;
};

pid_t start(const std::vector<std::string>& arguments, int shared) {
  std::vector<char*> argv = {const_cast<char*>("fwmod")};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  const Attributes attributes;
  const Actions actions(shared);
  pid_t child = 0;
  const int error =
      posix_spawn(&child, "/proc/self/exe", actions.get(), attributes.get(), argv.data(), environ);
  if (error != 0) {
    fail(error, "cannot start a process");
  }
  return child;
}

// True when the child ended in time.
bool wait_until(int child, Clock::time_point deadline) {
  pollfd event = {child, POLLIN, 0};
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    ready = poll(&event, 1, static_cast<int>(std::clamp<long long>(left, 0, 60'000)));
  } while ((ready < 0 && errno == EINTR) || (ready == 0 && Clock::now() < deadline));
  return ready > 0;
}

// The child is not reaped yet, so its number and its group's are still its own.
int kill_and_reap(pid_t child) {
  kill(-child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

Ending run_self(const std::vector<std::string>& arguments, int shared, std::chrono::seconds limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  const pid_t child = start(arguments, shared);
  // By number: the C library's declaration is not for C++.
  const int watched = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
  if (watched < 0) {
    const int error = errno;
    kill_and_reap(child);
    fail(error, "cannot watch a process");
  }
  const bool in_time = wait_until(watched, deadline);
  close(watched);
  const int status = kill_and_reap(child);
  if (!in_time) {
    return {Ending::kTimedOut, 0};
  }
  return WIFEXITED(status) ? Ending{Ending::kExited, WEXITSTATUS(status)}
                           : Ending{Ending::kSignalled, WTERMSIG(status)};
}

void end_with_parent(int parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(0);
  }
}

}  // namespace fwmod
