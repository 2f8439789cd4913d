// Hosts that change what they may do while their log is open, or may do more than who starts them:
// changed_rights <scenario>
//
// Each is a child process that opens its log as root. Without root nothing can be tried: the exit
// status is 77 then.
#include <fwbase/fwbase.h>
#include <grp.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/faults/report.h"
#include "tests/harness/log_bytes.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::faults {

namespace {

using test::read_file;
using test::take_reports;
using test::TempDir;

constexpr int kSkipped = 77;
constexpr uid_t kNobody = 65534;
constexpr std::size_t kFull = 10 * 1024 * 1024;

IFWBase* facade() { return IFWBase::instance(); }

// --- A log of numbered records ---

std::string message(int number) {
  std::string text = std::to_string(number);
  return text.append(std::size_t{32} * 1024, '.');
}

// Writes so many records, from one number on. Gives the next number.
int write(int number, int count) {
  for (const int end = number + count; number < end; ++number) {
    facade()->runlog()->write(IRunLog::WARN, message(number).c_str(), "here");
  }
  return number;
}

constexpr int kBeyondFull = 400;  // records that take 12.5 MiB

std::string record(int number) { return "[WARN ]: here\r\n >" + message(number) + "\n"; }

// The number of the records that take 10 MiB, the one included that goes beyond.
int records_up_to_full() {
  std::size_t size = 0;
  int number = 0;
  for (; size < kFull; ++number) {
    size += record(number).size();
  }
  return number;
}

// So many records are in the text, from one number on, and nothing else.
void expect_records(const std::string& text, int first, int count) {
  std::size_t at = 0;
  for (int number = first; number < first + count; ++number) {
    const std::string expected = record(number);
    if (!expect(text.compare(at, expected.size(), expected) == 0, "a record is missing")) {
      return;
    }
    at += expected.size();
  }
  expect(at == text.size(), "too much in the log");
}

// --- A host ---

// A child process that runs a function as root first. It may wait for its parent in between.
class Host {
 public:
  explicit Host(const std::function<void(Host&)>& run) {
    expect(::pipe(m_question_pipe) == 0 && ::pipe(m_answer_pipe) == 0, "a pipe");
    m_process = ::fork();
    if (m_process == 0) {
      run(*this);
      ::_exit(0);
    }
    ::close(m_question_pipe[1]);
  }
  ~Host() {
    int status = -1;
    expect(::waitpid(m_process, &status, 0) == m_process && status == 0, "the host failed");
    ::close(m_question_pipe[0]);
    ::close(m_answer_pipe[0]);
    ::close(m_answer_pipe[1]);
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // In the child: lets the parent do its part.
  void ask() {
    char byte = 0;
    require(::write(m_question_pipe[1], &byte, 1) == 1 && ::read(m_answer_pipe[0], &byte, 1) == 1);
  }

  // In the parent: does its part when the child asks for it.
  void answer(const std::function<void()>& part) {
    char byte = 0;
    if (expect(::read(m_question_pipe[0], &byte, 1) == 1, "the host does not ask")) {
      part();
      expect(::write(m_answer_pipe[1], &byte, 1) == 1, "answering");
    }
  }

  // In the child.
  static void require(bool good) {
    if (!good) {
      std::perror("changed_rights: the host");
      ::_exit(1);
    }
  }

 private:
  int m_question_pipe[2];
  int m_answer_pipe[2];
  pid_t m_process = -1;
};

void start(const std::string& path) {
  Host::require(ec::succeeded(facade()->init()));
  Host::require(ec::succeeded(facade()->runlog()->file(path.c_str())));
}

void become_nobody() {
  Host::require(::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0);
}

// --- Scenarios ---

// The new user may not rename (0755), or not even see the names (0700).
void without_rights(mode_t mode) {
  const TempDir directory;
  const std::string path = directory.path("run.log");
  ::chmod(directory.path().c_str(), mode);
  {
    const Host host([&](Host&) {
      start(path);
      become_nobody();
      write(0, kBeyondFull);
    });
  }
  count_fault();
  std::string text = read_file(path);
  expect(take_reports(text) == 1, "reports");
  expect_records(text, 0, kBeyondFull);
  expect(!std::filesystem::exists(path + ".bak.0"), "a backup");
}

// They are given to the new user later.
void with_rights_later() {
  const TempDir directory;
  const std::string path = directory.path("run.log");
  {
    Host child([&](Host& host) {
      start(path);
      become_nobody();
      const int next = write(0, kBeyondFull);
      host.ask();
      write(next, kBeyondFull);
    });
    child.answer(
        [&] { expect(::chown(directory.path().c_str(), kNobody, kNobody) == 0, "chown()"); });
  }
  count_fault();
  std::string text = read_file(path + ".bak.1") + read_file(path + ".bak.0") + read_file(path);
  expect(take_reports(text) == 1, "reports");
  expect_records(text, 0, 2 * kBeyondFull);
  expect(std::filesystem::exists(path + ".bak.0"), "no backup");
}

void set_user() {
  begin_step("setuid", "no right to rename");
  without_rights(0755);
  begin_step("setuid", "no right to search");
  without_rights(0700);
  begin_step("setuid", "rights given later");
  with_rights_later();
}

// The name means another file after chroot(): file() opens that.
void change_root() {
  begin_step("chroot", "with file()");
  const TempDir directory;
  const std::string path = directory.path("run.log");
  const std::string inside = directory.path("root" + path);
  std::filesystem::create_directories(directory.path("root" + directory.path()));
  const int before = 10;
  {
    const Host host([&](Host&) {
      start(path);
      write(0, before);
      Host::require(::chroot(directory.path("root").c_str()) == 0 && ::chdir("/") == 0);
      Host::require(ec::succeeded(facade()->runlog()->file(path.c_str())));
      write(before, kBeyondFull);
    });
  }
  count_fault();
  expect_records(read_file(path), 0, before);
  expect_records(read_file(inside + ".bak.0") + read_file(inside), before, kBeyondFull);
  expect(std::filesystem::exists(inside + ".bak.0"), "no backup");

  // Without it, and without such a directory, it goes on up to 10 MiB.
  begin_step("chroot", "without file()");
  const std::string other = directory.path("other.log");
  std::filesystem::create_directory(directory.path("empty"));
  {
    const Host host([&](Host&) {
      start(other);
      Host::require(::chroot(directory.path("empty").c_str()) == 0);
      write(0, kBeyondFull);
    });
  }
  count_fault();
  expect_records(read_file(other), 0, records_up_to_full());
}

// --- A program with rights that its user has not ---

constexpr const char* kTellTime = "--tell-time";

std::string time_text(std::time_t time) {
  char text[64];
  return std::string(::ctime_r(&time, text)).substr(0, 24);
}

// What the program does. Its record says as well what the C library makes of this second and of
// the next one.
int tell_time(const char* root) {
  if (::getauxval(AT_SECURE) == 0) {
    return kSkipped;  // the file system gives no rights
  }
  Host::require(::chroot(root) == 0 && ::chdir("/") == 0);
  start("/run.log");
  facade()->runlog()->info(IRunLog::INFO_TIME);
  const std::time_t now = std::time(nullptr);
  const std::string times = time_text(now) + ", " + time_text(now + 1);
  facade()->runlog()->write(IRunLog::WARN, times.c_str(), "here");
  return 0;
}

// A zone that is 5:30 hours ahead of UTC in all years.
std::string zone_file() {
  using std::string_literals::operator""s;
  const std::string block = "TZif2"s + std::string(15 + 16, '\0') +
                            "\0\0\0\1\0\0\0\4"s        // a type, and its name
                            "\0\0\x4D\x58\0\0TST\0"s;  // its offset, no summer time
  return block + block + "\nTST-5:30\n";
}

// A tree to be the root, with zone files and a copy of this program that has the set-group-ID bit.
class Root {
 public:
  Root() {
    for (const char* const file : {"etc/localtime", "usr/share/zoneinfo/Test", "elsewhere/Test"}) {
      const std::filesystem::path path = m_directory.path(file);
      std::filesystem::create_directories(path.parent_path());
      test::write_file(path, zone_file());
    }
    std::filesystem::copy_file("/proc/self/exe", program());
    expect(::chown(program().c_str(), 0, kNobody) == 0 && ::chmod(program().c_str(), 02755) == 0,
           "the set-group-ID bit");
  }

  // Runs the program. Gives its exit status.
  int run(const char* tz) const {
    const pid_t process = ::fork();
    if (process == 0) {
      tz != nullptr ? ::setenv("TZ", tz, 1) : ::unsetenv("TZ");
      ::execl(program().c_str(), "changed_rights", kTellTime, m_directory.path().c_str(), nullptr);
      ::_exit(1);
    }
    int status = -1;
    const bool ended = ::waitpid(process, &status, 0) == process && WIFEXITED(status);
    return ended ? WEXITSTATUS(status) : -1;
  }

  std::string log_path() const { return m_directory.path("run.log"); }

 private:
  std::string program() const { return m_directory.path("program"); }

  const TempDir m_directory;
};

// It reads the system's zones, as the C library does, and no others.
void set_group() {
  const Root root;
  for (const char* const tz :
       {static_cast<const char*>(nullptr), "/etc/localtime", "Test", "/usr/share/zoneinfo/Test",
        ":/usr/share/zoneinfo/Test", "/elsewhere/Test", "../../../elsewhere/Test", "TST-3"}) {
    begin_step("setgid", tz != nullptr ? tz : "no TZ");
    std::filesystem::remove(root.log_path());
    const int status = root.run(tz);
    if (status == kSkipped) {
      std::printf("changed_rights setgid: skipped, the file system gives no rights\n");
      return;
    }
    count_fault();
    expect(status == 0, "the program failed");
    const std::string text = read_file(root.log_path());
    const std::string time = text.substr(text.find(": ") + 2, 24);
    expect(text.find(time, text.find("\r\n")) != std::string::npos, text.c_str());
  }
}

struct Scenario {
  const char* name;
  void (*run)();
};

constexpr Scenario kScenarios[] = {
    {"setuid", set_user}, {"chroot", change_root}, {"setgid", set_group}};

}  // namespace

}  // namespace fwbase::faults

int main(int argc, char** argv) {
  using namespace fwbase::faults;
  if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
    for (const Scenario& scenario : kScenarios) {
      std::printf("%s\n", scenario.name);
    }
    return 0;
  }
  if (argc == 3 && std::strcmp(argv[1], kTellTime) == 0) {
    return tell_time(argv[2]);
  }
  for (const Scenario& scenario : kScenarios) {
    if (argc != 2 || std::strcmp(argv[1], scenario.name) != 0) {
      continue;
    }
    if (::geteuid() != 0) {
      std::printf("changed_rights %s: skipped, it needs root\n", scenario.name);
      return kSkipped;
    }
    begin_scenario(std::string("changed_rights ") + scenario.name);
    scenario.run();
    return end_scenario();
  }
  std::fprintf(stderr, "usage: changed_rights <scenario>|--list\n");
  return 2;
}
