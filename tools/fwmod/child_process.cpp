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
#include <memory>
#include <system_error>

#include "process_state.h"

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
  const std::string self = std::to_string(getpid());
  std::vector<char*> argv = {const_cast<char*>("fwmod")};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.insert(argv.begin() + 2, const_cast<char*>(self.c_str()));
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

class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {
    if (number < 0) {
      fail(errno, "cannot watch a process");
    }
  }
  ~Descriptor() { close(m_number); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return m_number; }

 private:
  int m_number;
};

// By number: the C library's declaration is not for C++.
int open_process(pid_t process) { return static_cast<int>(syscall(SYS_pidfd_open, process, 0)); }

enum class Event { kTimeout, kChildEnded, kParentEnded };

Event wait_until(const Descriptor& child, const Descriptor& parent, Clock::time_point deadline) {
  pollfd ends[] = {{child.number(), POLLIN, 0}, {parent.number(), POLLIN, 0}};
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    ready = poll(ends, 2, static_cast<int>(std::clamp<long long>(left, 0, 60'000)));
  } while ((ready < 0 && errno == EINTR) || (ready == 0 && Clock::now() < deadline));
  if (ends[1].revents != 0) {
    return Event::kParentEnded;
  }
  return ready > 0 ? Event::kChildEnded : Event::kTimeout;
}

// The child is not reaped yet, so its number is still its own.
int kill_and_reap(pid_t child) {
  kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

// Children of what is killed become this process's own, and so does whatever had lost its parent
// before: the last turn finds none that may be killed.
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

Ending run_child(const std::vector<std::string>& arguments, int shared, Clock::time_point deadline,
                 const Descriptor& parent) {
  const pid_t child = start(arguments, shared);
  const Descriptor watched(open_process(child));
  const Event event = wait_until(watched, parent, deadline);
  const int status = kill_and_reap(child);
  if (event != Event::kChildEnded) {
    return {Ending::kTimedOut, 0};
  }
  return WIFEXITED(status) ? Ending{Ending::kExited, WEXITSTATUS(status)}
                           : Ending{Ending::kSignalled, WTERMSIG(status)};
}

// Signals are for the parent: what a terminal sends, and what a daemon tells its own parent.
void block_signals() {
  sigset_t signals;
  sigfillset(&signals);
  sigprocmask(SIG_SETMASK, &signals, nullptr);
}

struct Outcome {
  int error;  // 0, or why there is no ending
  Ending ending;
};

// The process in between. What the child leaves without a parent becomes a child of this one. It
// has no others, while its parent may have some of whoever started it.
[[noreturn]] void keep(const std::vector<std::string>& arguments, int shared,
                       Clock::time_point deadline, pid_t parent, const Descriptor& result) {
  block_signals();
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  Outcome outcome = {};
  try {
    const Descriptor parent_end(open_process(parent));
    if (getppid() != parent) {
      _exit(0);
    }
    outcome.ending = run_child(arguments, shared, deadline, parent_end);
  } catch (const std::system_error& error) {
    outcome.error = error.code().value();
  }
  kill_children();
  // The parent notices when it is missing.
  [[maybe_unused]] const ssize_t written = write(result.number(), &outcome, sizeof outcome);
  _exit(0);
}

}  // namespace

Ending run_self(const std::vector<std::string>& arguments, int shared, std::chrono::seconds limit) {
  const Clock::time_point deadline = Clock::now() + limit;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    fail(errno, "cannot start a process");
  }
  const Descriptor result(ends[0]);
  auto written = std::make_unique<const Descriptor>(ends[1]);
  const pid_t parent = getpid();
  const pid_t keeper = fork();
  if (keeper < 0) {
    fail(errno, "cannot start a process");
  }
  if (keeper == 0) {
    keep(arguments, shared, deadline, parent, *written);
  }
  written.reset();
  Outcome outcome = {};
  const bool is_told = read(result.number(), &outcome, sizeof outcome) == sizeof outcome;
  waitpid(keeper, nullptr, 0);
  if (!is_told || outcome.error != 0) {
    fail(is_told ? outcome.error : ECHILD, "cannot start and watch a process");
  }
  return outcome.ending;
}

void end_with_parent(int parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) {
    _exit(0);
  }
}

}  // namespace fwmod
