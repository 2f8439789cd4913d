// Hosts with a journal that are killed: journal_kills plain|rotation|restarts|shared <kills> [seed]
//
// Eight threads of a child process log in queued mode until SIGKILL comes, after a random time. The
// next host of the log writes what was left. In the end every record whose write() had returned has
// to be in the log once and whole, in the order of its thread. Logs are on the disk of TMPDIR and
// on that of /dev/shm in turn. Where another process writes to the same log, and rotates it, too, a
// record that was cut off stays so, and is there once more.
#include <fwbase/fwbase.h>
#include <fwbase/log_options.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/faults/report.h"
#include "tests/harness/temp_dir.h"

namespace fwbase::faults {

namespace {

using test::read_file;
using test::TempDir;

constexpr int kThreads = 8;
constexpr int kMostHosts = 3;
constexpr int kRecords = 4000;    // of a thread
constexpr int kLongest = 20'000;  // how long a host works at most, in microseconds

constexpr int kNeighbour = kMostHosts;  // as a host

constexpr int kBackups = 400;  // more than there will be

enum class Variant { kPlain, kRotation, kRestarts, kShared };

// What the hosts tell, in memory that outlives them.
struct Told {
  std::atomic<bool> started{false};
  std::atomic<bool> neighbour_started{false};
  std::array<std::array<std::atomic<int>, kThreads>, kMostHosts> returned{};  // calls of write()
};

struct Totals {
  long kills = 0;
  long returned = 0;
  long lost = 0;
  long twice = 0;
  long torn = 0;
};

// --- A host ---

// Some are longer than what the queue holds at once, and few longer than its journal.
std::string message_of(int host, int thread, int number) {
  const std::size_t length = number % 1500 == 1499 ? 150'000 : number % 100 == 99 ? 20'000 : 60;
  std::string message =
      std::to_string(host) + " " + std::to_string(thread) + " " + std::to_string(number) + " ";
  message.append(length, static_cast<char>('a' + number % 26));
  return message;
}

void log_in_threads(int host, Told& told) {
  IRunLog* const log = IFWBase::instance()->runlog();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([=, &told] {
      for (int number = 0; number < kRecords; ++number) {
        log->write(IRunLog::WARN, message_of(host, thread, number).c_str(), "here");
        told.returned[host][thread] = number + 1;
      }
      ::pause();
    });
  }
  threads.front().join();
}

bool open_log(const std::string& path, Variant variant, bool has_journal = true) {
  LogOptions options;
  options.journal = has_journal;
  if (variant == Variant::kRotation || variant == Variant::kShared) {
    options.file_bytes = 50'000;
    options.backups = kBackups;
  }
  return ec::succeeded(IFWBase::instance()->init()) && ec::succeeded(log_options(options)) &&
         ec::succeeded(IFWBase::instance()->runlog()->file(path.c_str()));
}

template <typename Work>
pid_t start_child(Work work) {
  const pid_t child = ::fork();
  if (child == 0) {
    work();
    std::_Exit(0);
  }
  return child;
}

// The time runs from the moment at which the host goes to its log, so that recovery is killed, too.
void kill_a_host(const std::string& path, Variant variant, int host, Told& told,
                 std::mt19937& random) {
  told.started = false;
  const pid_t child = start_child([&] {
    told.started = true;
    told.started.notify_all();
    if (open_log(path, variant)) {
      IFWBase::instance()->runlog()->asynch(true);
      log_in_threads(host, told);
    }
  });
  while (!told.started) {
    std::this_thread::yield();
  }
  const timespec time = {0, 1000L * std::uniform_int_distribution(0, kLongest)(random)};
  ::nanosleep(&time, nullptr);
  ::kill(child, SIGKILL);
  int status = 0;
  expect(
      ::waitpid(child, &status, 0) == child && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL,
      "the host ended by itself");
  count_fault();
}

// Another process of the same log, without a queue, until it is killed.
pid_t start_neighbour(const std::string& path, Variant variant, Told& told) {
  const pid_t child = start_child([&] {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // it would outlive a test that is ended
    const bool is_open = open_log(path, variant, false);
    told.neighbour_started = true;
    for (int number = 0; is_open; ++number) {
      IFWBase::instance()->runlog()->write(IRunLog::WARN, message_of(kNeighbour, 0, number).c_str(),
                                           "here");
      const timespec time = {0, 20'000};
      ::nanosleep(&time, nullptr);
    }
  });
  while (!told.neighbour_started) {
    std::this_thread::yield();
  }
  return child;
}

void end(pid_t child) {
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
}

// A host that only opens the log.
void recover(const std::string& path, Variant variant) {
  const pid_t child = start_child([&] {
    if (!open_log(path, variant)) {
      std::_Exit(1);
    }
  });
  int status = 0;
  expect(::waitpid(child, &status, 0) == child && status == 0, "the log cannot be opened");
  expect(!std::filesystem::exists(path + ".journal"), "the journal is still there");
}

// --- What is in the log ---

// A host that was killed while it renamed the backups has left a gap.
std::string whole_log(const std::string& path) {
  std::string text;
  for (int number = kBackups; number > 0; --number) {
    text += read_file(path + ".bak." + std::to_string(number - 1));
  }
  return text + read_file(path);
}

// A log that is taken apart.
class Records {
 public:
  // What is not as it was written counts as one torn record.
  Records(std::string_view text, Totals& totals) {
    while (!text.empty()) {
      if (!take(text)) {
        ++totals.torn;
        const std::size_t next = text.find("\n[WARN ]:", 1);
        text.remove_prefix(next != text.npos ? next + 1 : text.size());
      }
    }
  }

  // The last record of a thread may be there though its write() has not returned.
  void compare(const Told& told, int hosts, Totals& totals) const {
    for (int host = 0; host < hosts; ++host) {
      for (int thread = 0; thread < kThreads; ++thread) {
        const std::vector<int>& times = m_times[host][thread];
        const auto returned = static_cast<std::size_t>(told.returned[host][thread]);
        totals.returned += static_cast<long>(returned);
        for (std::size_t number = 0; number < std::max(returned, times.size()); ++number) {
          const int count = number < times.size() ? times[number] : 0;
          totals.lost += count == 0 ? 1 : 0;
          totals.twice += count > 1 ? 1 : 0;
        }
        expect(times.size() <= returned + 1, "a record that was never written");
      }
    }
  }

  /// Those of each host behind those of the one before, and those of a thread as it wrote them.
  bool are_in_order() const { return m_in_order; }

 private:
  bool take(std::string_view& text) {
    constexpr std::string_view kHead = "[WARN ]: here\r\n >";
    int numbers[3] = {-1, -1, -1};
    std::string_view left = text;
    if (!left.starts_with(kHead)) {
      return false;
    }
    left.remove_prefix(kHead.size());
    for (int& number : numbers) {
      const char* const end = std::from_chars(left.data(), left.data() + left.size(), number).ptr;
      left.remove_prefix(std::min(left.size(), static_cast<std::size_t>(end - left.data()) + 1));
    }
    const auto [host, thread, number] = numbers;
    if (host < 0 || host > kNeighbour || thread < 0 || thread >= kThreads || number < 0) {
      return false;
    }
    const std::string whole = std::string(kHead) + message_of(host, thread, number) + "\n";
    if (!text.starts_with(whole)) {
      return false;
    }
    text.remove_prefix(whole.size());
    count(host, thread, number);
    return true;
  }

  void count(int host, int thread, int number) {
    std::vector<int>& times = m_times[host][thread];
    const auto place = static_cast<std::size_t>(number);
    m_in_order = m_in_order && host >= m_host && place >= times.size();
    m_host = host;
    times.resize(std::max(times.size(), place + 1));
    ++times[place];
  }

  int m_host = 0;
  bool m_in_order = true;
  std::array<std::array<std::vector<int>, kThreads>, kNeighbour + 1> m_times;
};

void check(const std::string& path, Variant variant, const Told& told, int hosts, Totals& totals) {
  const Totals before = totals;
  const std::string text = whole_log(path);
  const Records records(text, totals);
  records.compare(told, hosts, totals);
  const bool is_alone = variant != Variant::kShared;
  expect(totals.lost == before.lost, "a record is lost");
  expect(totals.twice == before.twice, "a record is there twice");
  expect(!is_alone || records.are_in_order(), "records are not in their order");
  expect(!is_alone || totals.torn == before.torn, "a record is torn, or none of the log's own");
}

Told* new_told() {
  void* const shared =
      // cppcheck-suppress invalidFunctionArg  ; shared with nobody but children
      ::mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return shared != MAP_FAILED ? new (shared) Told : nullptr;
}

void run(Variant variant, long kills, std::mt19937& random) {
  const char* const usual = ::getenv("TMPDIR");
  const std::string disks[] = {usual != nullptr ? usual : "/tmp", "/dev/shm"};
  const bool is_shared = variant == Variant::kShared;
  const int hosts = variant == Variant::kRestarts || is_shared ? kMostHosts : 1;
  Totals totals;
  for (long round = 0; totals.kills < kills; ++round) {
    begin_step("write", "round " + std::to_string(round));
    ::setenv("TMPDIR", disks[round % 2].c_str(), 1);
    const TempDir directory;
    const std::string path = directory.path("run.log");
    Told* const told = new_told();
    if (!expect(told != nullptr, "shared memory")) {
      return;
    }
    const pid_t neighbour = is_shared ? start_neighbour(path, variant, *told) : 0;
    for (int host = 0; host < hosts; ++host, ++totals.kills) {
      kill_a_host(path, variant, host, *told, random);
    }
    recover(path, variant);
    if (is_shared) {
      end(neighbour);
    }
    check(path, variant, *told, hosts, totals);
    ::munmap(told, sizeof(Told));
  }
  std::printf(
      "%ld kills: of %ld records whose write() had returned %ld lost, %ld twice, %ld torn\n",
      totals.kills, totals.returned, totals.lost, totals.twice, totals.torn);
}

}  // namespace

}  // namespace fwbase::faults

int main(int argc, char** argv) {
  using namespace fwbase::faults;
  const std::map<std::string, Variant> variants = {{"plain", Variant::kPlain},
                                                   {"rotation", Variant::kRotation},
                                                   {"restarts", Variant::kRestarts},
                                                   {"shared", Variant::kShared}};
  const auto variant = variants.find(argc > 2 ? argv[1] : "");
  if (variant == variants.end()) {
    std::fprintf(stderr, "usage: journal_kills plain|rotation|restarts|shared <kills> [seed]\n");
    return 2;
  }
  std::mt19937 random = seeded(argc > 3 ? argv[3] : nullptr);
  begin_scenario("journal_kills " + variant->first);
  run(variant->second, std::atol(argv[2]), random);
  return end_scenario();
}
