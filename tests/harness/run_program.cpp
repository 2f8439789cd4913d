#include "tests/harness/run_program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace fwbase::test {

namespace {

class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {
    if (number < 0) {
      throw std::runtime_error("cannot open a descriptor");
    }
  }
  ~Descriptor() { close(m_number); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return m_number; }

 private:
  int m_number;
};

// A file in memory: unlike a pipe it takes all output while nobody reads.
int open_buffer() { return memfd_create("output", MFD_CLOEXEC); }

int open_broken_pipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return -1;
  }
  close(ends[0]);
  return ends[1];
}

int open_output(Stdout kind) {
  switch (kind) {
    case Stdout::kFullDevice:
      return open("/dev/full", O_WRONLY | O_CLOEXEC);
    case Stdout::kBrokenPipe:
      return open_broken_pipe();
    default:
      return open_buffer();
  }
}

std::string content(const Descriptor& buffer) {
  std::string all;
  char part[4096];
  ssize_t got = 0;
  while ((got = pread(buffer.number(), part, sizeof part, static_cast<off_t>(all.size()))) > 0) {
    all.append(part, static_cast<std::size_t>(got));
  }
  return all;
}

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      throw std::runtime_error("cannot wait for the program");
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A test runner may ignore SIGPIPE, which a program would inherit.
class Attributes {
 public:
  Attributes() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_init(&m_attributes);
    posix_spawnattr_setsigdefault(&m_attributes, &signals);
    posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGDEF);
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
  Actions() { posix_spawn_file_actions_init(&m_actions); }
  ~Actions() { posix_spawn_file_actions_destroy(&m_actions); }
  Actions(const Actions&) = delete;
  Actions& operator=(const Actions&) = delete;

  void duplicate(int from, int to) { posix_spawn_file_actions_adddup2(&m_actions, from, to); }
  void close(int number) { posix_spawn_file_actions_addclose(&m_actions, number); }
  const posix_spawn_file_actions_t* get() const { return &m_actions; }

 private:
  posix_spawn_file_actions_t m_actions;
};

}  // namespace

ProgramResult run_program(const std::vector<std::string>& arguments, Stdout standard_output) {
  const Descriptor out(open_output(standard_output));
  const Descriptor err(open_buffer());
  Actions actions;
  actions.duplicate(err.number(), STDERR_FILENO);
  if (standard_output == Stdout::kClosed) {
    actions.close(STDOUT_FILENO);
  } else {
    actions.duplicate(out.number(), STDOUT_FILENO);
  }

  std::vector<char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);

  const Attributes attributes;
  pid_t child = 0;
  if (posix_spawn(&child, argv[0], actions.get(), attributes.get(), argv.data(), environ) != 0) {
    throw std::runtime_error("cannot start " + arguments.front());
  }
  const int status = wait_for(child);
  const bool collected = standard_output == Stdout::kCollected;
  return {status, collected ? content(out) : "", content(err)};
}

}  // namespace fwbase::test
