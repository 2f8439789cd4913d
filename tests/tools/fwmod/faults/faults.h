// What goes wrong in the faulty libraries.
#ifndef FWMOD_TESTS_FAULTS_H
#define FWMOD_TESTS_FAULTS_H

#include <unistd.h>

#include <csignal>

/// Ends the process by a signal, also where a sanitizer would report it in its own way.
inline void crash() {
  std::signal(SIGSEGV, SIG_DFL);
  std::raise(SIGSEGV);
}

[[noreturn]] inline void hang() {
  while (true) {
    pause();
  }
}

#endif
