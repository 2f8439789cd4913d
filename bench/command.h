// Commands that a benchmark runs.
#ifndef FWBASE_BENCH_COMMAND_H
#define FWBASE_BENCH_COMMAND_H

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace fwbase::bench {

inline pid_t start(const std::string& command) {
  const pid_t child = fork();
  if (child == 0) {
    execl("/bin/sh", "sh", "-c", ("exec " + command).c_str(), nullptr);
    _exit(127);
  }
  return child;
}

/// Of the processor, from the start of the command to its end.
inline double seconds_until_end(pid_t child) {
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) > 1) {
    throw std::runtime_error("a command failed");
  }
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace fwbase::bench

#endif
