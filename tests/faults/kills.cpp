// Hosts that are killed: kills <scenario> <kills> [seed]
//
// Each is a child process that works until SIGKILL comes, after a random time. What it leaves must
// be whole, and good for the next host.
#include <fwbase/fwbase.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>

#include "tests/faults/report.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::faults {

namespace {

using test::read_file;
using test::TempDir;

// How long a child works at most, in microseconds.
constexpr int kLongest = 20'000;

IFWBase* facade() { return IFWBase::instance(); }

// A child that writes a number for each thing that it has done, and is killed.
class Victim {
 public:
  // work   is given a function to call with each number; the time runs from the first one
  template <typename Work>
  Victim(int microseconds, Work work) {
    int ends[2];
    expect(::pipe(ends) == 0, "a pipe");
    m_child = ::fork();
    if (m_child == 0) {
      ::close(ends[0]);
      bool started = false;
      work([&](int number) {
        const bool reported = ::write(ends[1], &number, sizeof number) == sizeof number;
        if (!reported || (!started && !kill_me_after(microseconds))) {
          std::_Exit(1);
        }
        started = true;
      });
      std::_Exit(1);
    }
    ::close(ends[1]);
    m_reports = ends[0];
  }
  ~Victim() { ::close(m_reports); }
  Victim(const Victim&) = delete;
  Victim& operator=(const Victim&) = delete;

  // Waits for its end. Gives the last thing that it has done; -1 for none.
  int last_report() const {
    int last = -1;
    for (int number = 0; ::read(m_reports, &number, sizeof number) == sizeof number;) {
      last = number;
    }
    int status = 0;
    expect(::waitpid(m_child, &status, 0) == m_child && WIFSIGNALED(status) &&
               WTERMSIG(status) == SIGKILL,
           "the child ended by itself");
    return last;
  }

 private:
  static bool kill_me_after(int microseconds) {
    sigevent event = {};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGKILL;
    timer_t timer;
    itimerspec when = {};
    when.it_value.tv_nsec = 1000L * microseconds + 1;
    return ::timer_create(CLOCK_MONOTONIC, &event, &timer) == 0 &&
           ::timer_settime(timer, 0, &when, nullptr) == 0;
  }

  pid_t m_child = -1;
  int m_reports = -1;
};

int any_time(std::mt19937& random) { return std::uniform_int_distribution(0, kLongest)(random); }

// --- Saving ---

std::string padded(int number) { return std::to_string(number) + "." + std::string(30000, 'x'); }

bool start(const std::string& script) {
  return ec::succeeded(facade()->init()) &&
         ec::succeeded(facade()->script()->load_script(script.c_str()));
}

// The number that the script has saved; -1 for anything that is not whole.
int saved_number() {
  std::string text;
  if (ec::failed(facade()->script()->get_value("v", IScript::VT_STRING, &text))) {
    return -1;
  }
  const int number = std::atoi(text.c_str());
  return text == padded(number) ? number : -1;
}

bool save(int number) {
  const std::string text = padded(number);
  return ec::succeeded(facade()->script()->set_value("v", IScript::VT_STRING, &text)) &&
         ec::succeeded(facade()->script()->save_script());
}

// Saves one number after the other, from the one that it finds on.
template <typename Report>
void keep_saving(const std::string& path, Report report) {
  int number = start(path) ? saved_number() : -1;
  while (number >= 0) {
    report(number);
    number = save(number + 1) ? number + 1 : -1;
  }
}

void saving(int kills, std::mt19937& random) {
  const TempDir directory;
  const std::string path = directory.path("script.xml");
  test::write_file(path,
                   "<korvid><template/><Process name=''><Data><var name='v' type='string' "
                   "value='" +
                       padded(0) + "'/></Data></Process></korvid>");
  int strays = 0;
  for (int i = 0; i < kills; ++i) {
    begin_step("save_script", "kill " + std::to_string(i));
    const Victim victim(any_time(random), [&](auto report) { keep_saving(path, report); });
    const int reported = victim.last_report();
    count_fault();
    strays += std::distance(std::filesystem::directory_iterator(directory.path()), {}) > 1 ? 1 : 0;
    expect(start(path), "the file cannot be loaded");
    const int found = saved_number();
    expect(found == reported || found == reported + 1, "the file is neither old nor new");
    expect(save(found + 1), "the next save");
    expect(std::distance(std::filesystem::directory_iterator(directory.path()), {}) == 1,
           "a stray file");
    facade()->release();
  }
  std::printf("%d of the killed hosts left a temporary file, which the next save removed\n",
              strays);
}

// --- Logging ---

std::string message(int number) { return std::to_string(number) + std::string(200, 'm'); }

std::string record(int number) { return "[WARN ]: here\r\n >" + message(number) + "\n"; }

template <typename Report>
void keep_logging(const std::string& path, Report report) {
  if (ec::failed(facade()->init()) || ec::failed(facade()->runlog()->file(path.c_str()))) {
    return;
  }
  for (int number = 0;; ++number) {
    facade()->runlog()->write(IRunLog::WARN, message(number).c_str(), "here");
    report(number);
  }
}

// The records from 0 to last, and at most one more, which may be torn.
void expect_records(const std::string& text, int last) {
  std::size_t at = 0;
  for (int number = 0; number <= last; ++number) {
    if (!expect(text.compare(at, record(number).size(), record(number)) == 0,
                "a record is missing")) {
      return;
    }
    at += record(number).size();
  }
  expect(record(last + 1).starts_with(text.substr(at)), "too many records");
}

void logging(int kills, std::mt19937& random) {
  const TempDir directory;
  const std::string path = directory.path("run.log");
  for (int i = 0; i < kills; ++i) {
    begin_step("write", "kill " + std::to_string(i));
    const Victim victim(any_time(random), [&](auto report) { keep_logging(path, report); });
    const int last = victim.last_report();
    count_fault();
    expect_records(read_file(path), last);
    std::filesystem::remove(path);
  }
}

}  // namespace

}  // namespace fwbase::faults

int main(int argc, char** argv) {
  using namespace fwbase::faults;
  const std::string scenario = argc > 2 ? argv[1] : "";
  if (scenario != "saving" && scenario != "logging") {
    std::fprintf(stderr, "usage: kills saving|logging <kills> [seed]\n");
    return 2;
  }
  std::mt19937 random = seeded(argc > 3 ? argv[3] : nullptr);
  begin_scenario("kills " + scenario);
  (scenario == "saving" ? saving : logging)(std::atoi(argv[2]), random);
  return end_scenario();
}
