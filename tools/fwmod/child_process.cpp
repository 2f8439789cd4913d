// There are three processes: this one, the child, and one in between, which ends after either of
// them. It adopts what the child leaves without a parent. This process could not do that: it may
// have other children, of the program that it was before.
#include "child_process.h"

#include <sys/prctl.h>
#include <sys/wait.h>

#include <csignal>
#include <ctime>

#include "process_state.h"

namespace fwmod {

namespace {

using Clock = std::chrono::steady_clock;

// The result, from the process in between.
struct Outcome {
  bool is_told;
  int error;  // why there is no child, or 0
  Ending ending;
};

struct Program {
  char** argv;
  const char* name;
  int shared;
};

// In the child. It ends with its parent.
[[noreturn]] void become(const Program& program, pid_t parent, Outcome& outcome) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(0);
  }
  setpgid(0, 0);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  program.argv[0] = const_cast<char*>(program.name);
  if (dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO) >= 0 &&
      dup2(STDERR_FILENO, STDOUT_FILENO) >= 0 &&
      fcntl(dup2(program.shared, kSharedDescriptor), F_SETFD, 0) == 0) {
    execv("/proc/self/exe", program.argv);
  }
  outcome.error = errno;
  _exit(0);
}

// Waits for any signal, whatever it is and whoever sent it: it may mean an end. False at the
// deadline and after the end of the parent.
bool ends_in_time(pid_t child, pid_t parent, Clock::time_point deadline) {
  sigset_t any;
  sigfillset(&any);
  while (getppid() == parent) {
    siginfo_t end = {};
    waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT);
    const auto left = deadline - Clock::now();
    if (end.si_pid != 0 || left <= left.zero()) {
      return end.si_pid != 0;
    }
    const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
    const timespec time = {seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
    sigtimedwait(&any, nullptr, &time);
  }
  return false;
}

// The child is not reaped yet, so no other process has its number.
int kill_and_reap(pid_t child) {
  kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

// This process adopts the children of those that it kills, and has adopted what lost its parent
// before. So the last round finds no process that it may kill.
void kill_children() {
  for (bool any = true; any;) {
    any = false;
    for (const int child : children_of(getpid())) {
      if (kill(child, 0) == 0) {
        kill_and_reap(child);
        any = true;
      }
    }
  }
}

// Signals of a terminal, and those from daemons to their parent, are not for this process. They
// only wake it, as the ends of its child and its parent do.
void block_signals() {
  sigset_t signals;
  sigfillset(&signals);
  sigprocmask(SIG_SETMASK, &signals, nullptr);
  std::signal(SIGCHLD, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
}

// The process in between.
[[noreturn]] void keep(const Program& program, Clock::time_point deadline, pid_t parent,
                       Outcome& outcome) {
  block_signals();
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const pid_t self = getpid();
  const pid_t child = fork();
  if (child == 0) {
    become(program, self, outcome);
  }
  if (child > 0) {
    const bool in_time = ends_in_time(child, parent, deadline);
    outcome.ending = {!in_time, kill_and_reap(child)};
    kill_children();
  } else {
    outcome.error = errno;
  }
  outcome.is_told = true;
  _exit(0);
}

}  // namespace

Ending run_self(char** argv, const char* name, int shared, std::chrono::seconds limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  const SharedMemory<Outcome> outcome;
  const pid_t self = getpid();
  const pid_t keeper = fork();
  if (keeper < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot start a process");
  }
  if (keeper == 0) {
    keep({argv, name, shared}, deadline, self, *outcome);
  }
  while (waitpid(keeper, nullptr, 0) < 0 && errno == EINTR) {
  }
  if (!outcome->is_told || outcome->error != 0) {
    throw std::system_error(outcome->is_told ? outcome->error : ECHILD, std::generic_category(),
                            "cannot start and watch a process");
  }
  return outcome->ending;
}

}  // namespace fwmod
