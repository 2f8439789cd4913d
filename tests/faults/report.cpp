#include "tests/faults/report.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "tests/faults/failing_allocations.h"

namespace fwbase::faults {

namespace {

constexpr int kMostReports = 20;

char place[512] = "";  // read by a signal handler
std::string scenario;
std::string operation;
int operations = 0;
long faults = 0;
int failures = 0;
unsigned int seconds = 0;

void print_place(const char* what) {
  for (const char* const part :
       std::initializer_list<const char*>{"FAILED ", place, ": ", what, "\n"}) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, part, std::strlen(part));
  }
}

// What this calls is not made for signal handlers; the program is lost anyway.
extern "C" void end_by_signal(int signal) {
  print_place(signal == SIGALRM ? "does not go on" : ::strsignal(signal));
  print_stack();
  print_refused();
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace

std::mt19937 seeded(const char* seed) {
  const unsigned int number =
      seed != nullptr ? std::strtoul(seed, nullptr, 10) : std::random_device()();
  std::printf("seed %u\n", number);
  std::fflush(stdout);
  return std::mt19937(number);
}

void begin_scenario(const std::string& name, unsigned int patience) {
  scenario = name;
  seconds = patience;
  struct sigaction action = {};
  action.sa_handler = end_by_signal;
  action.sa_flags = SA_NODEFER;
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM}) {
    ::sigaction(signal, &action, nullptr);
  }
  begin_step("start", "no fault");
}

void begin_step(const std::string& now, const std::string& fault) {
  if (now != operation) {
    operation = now;
    ++operations;
  }
  std::snprintf(place, sizeof place, "%s, %s, %s", scenario.c_str(), now.c_str(), fault.c_str());
  ::alarm(seconds);
}

void count_fault() { ++faults; }

bool expect(bool good, const char* what) {
  if (!good && ++failures <= kMostReports) {
    print_place(what);
    print_refused();
  }
  return good;
}

int end_scenario() {
  ::alarm(0);
  begin_step("end", "no fault");
  expect(faults > 0, "no fault was injected");
  ::alarm(0);
  std::printf("%s: %d operations, %ld faults injected, %d failures\n", scenario.c_str(),
              operations - 2, faults, failures);
  return failures == 0 ? 0 : 1;
}

}  // namespace fwbase::faults
