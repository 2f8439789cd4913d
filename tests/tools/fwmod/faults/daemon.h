// A daemon, as services start them: in a session of its own and child of nobody here.
#ifndef FWMOD_TESTS_DAEMON_H
#define FWMOD_TESTS_DAEMON_H

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "tests/tools/fwmod/faults/faults.h"

/// Starts one called "collector" and prints its number. It has the descriptors of its starter, and
/// no end.
inline void start_daemon() {
  const pid_t starter = fork();
  if (starter == 0) {
    setsid();
    if (fork() != 0) {
      _exit(0);
    }
    std::signal(SIGTERM, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    prctl(PR_SET_NAME, "collector");
    std::printf("%d\n", getpid());
    std::fflush(stdout);
    hang();
  }
  waitpid(starter, nullptr, 0);
}

#endif
