// descriptor_limit SECONDS: hosts rotate their log while they have hardly a descriptor left. Each
// has four threads that log, and one that takes all the descriptors that there are, again and
// again. In turn, one host has the log for itself, queued or not, and three share it. Every record
// must be in the log and its backups, whole, once and in its thread's order.
#include <fcntl.h>
#include <fwbase/fwbase.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/harness/temp_dir.h"

// A child has the memory of its parent, which is not released in it.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::test::read_file;
using Clock = std::chrono::steady_clock;

constexpr int kThreads = 4;
constexpr std::size_t kRecordSize = 4000;
// Of all threads of all hosts: 44 MiB, so that no backup is lost.
constexpr int kRecords = 44 * 1024 * 1024 / static_cast<int>(kRecordSize);
constexpr rlim_t kDescriptors = 64;

void require(bool good, const char* what) {
  if (!good) {
    std::fprintf(stderr, "descriptor_limit: %s\n", what);
    std::_Exit(1);
  }
}

// --- A host ---

// Takes all descriptors, and gives them back, for up to a millisecond each.
void take_descriptors(const std::atomic<bool>& stop) {
  std::vector<int> taken;
  const auto wait = [](unsigned int round) {
    const auto until = Clock::now() + std::chrono::microseconds(100 * (round % 10));
    while (Clock::now() < until) {
      std::this_thread::yield();
    }
  };
  for (unsigned int round = 0; !stop; ++round) {
    for (int next = 0; (next = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) {
      taken.push_back(next);
    }
    wait(round);
    for (; !taken.empty(); taken.pop_back()) {
      ::close(taken.back());
    }
    wait(round);
  }
}

void write_records(int host, int thread, int count) {
  const std::string who = std::to_string(host) + "." + std::to_string(thread) + " ";
  for (int number = 0; number < count; ++number) {
    std::string message = who + std::to_string(number) + " ";
    message.resize(kRecordSize, '.');
    IFWBase::instance()->runlog()->write(IRunLog::WARN, message.c_str(), "");
  }
}

[[noreturn]] void run_host(const std::string& path, int host, bool queued, int records) {
  IFWBase* const facade = IFWBase::instance();
  const rlimit limit = {kDescriptors, kDescriptors};
  require(::setrlimit(RLIMIT_NOFILE, &limit) == 0, "setrlimit()");
  require(ec::succeeded(facade->init()), "init()");
  require(ec::succeeded(facade->runlog()->file(path.c_str())), "file()");
  facade->runlog()->asynch(queued);
  std::atomic<bool> stop{false};
  std::thread taker([&] { take_descriptors(stop); });
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([=] { write_records(host, i, records / kThreads); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  facade->release();
  stop = true;
  taker.join();
  ::_exit(0);
}

// --- What they have written ---

// The records of a log and its backups, from the oldest on, by "host.thread".
class Written {
 public:
  explicit Written(const std::string& path) {
    for (const char* const suffix : {".bak.3", ".bak.2", ".bak.1", ".bak.0", ""}) {
      m_files += std::filesystem::exists(path + suffix) ? 1 : 0;
      take_file(read_file(path + suffix));
    }
  }

  int files() const { return m_files; }
  int reports() const { return m_reports; }
  int records(const std::string& who) const {
    const auto found = m_next.find(who);
    return found != m_next.end() ? found->second : 0;
  }

 private:
  // A record is the line "[WARN ]: \r\n" and a line " >0.1 234 ....\n"; the closing one has four
  // lines, and one about the rotation names its source.
  void take_file(const std::string& text) {
    std::string_view rest = text;
    while (!rest.empty()) {
      const std::string_view head = take_line(rest);
      const std::string_view message = take_line(rest);
      if (head == "[WARN ]: \r" && message.starts_with(" >") && message.size() == kRecordSize + 2) {
        take_record(std::string(message.substr(2)));
      } else if (head == "[DEBUG]: \r") {
        require(
            message == " >" && take_line(rest) == "log system release" && take_line(rest).empty(),
            "a torn closing record");
      } else {
        require(head.starts_with("[ERROR]: this(0x") && message.starts_with(" >"), "a torn record");
        ++m_reports;
      }
    }
  }

  static std::string_view take_line(std::string_view& text) {
    const std::size_t end = text.find('\n');
    require(end != text.npos, "half a line");
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
  }

  void take_record(const std::string& message) {
    const std::size_t blank = message.find(' ');
    int& next = m_next[message.substr(0, blank)];
    require(std::atoi(message.c_str() + blank) == next, "records are missing or out of order");
    ++next;
  }

  std::map<std::string, int> m_next;
  int m_files = 0;
  int m_reports = 0;
};

// Gives the number of rotations that failed and were reported.
int run_hosts(int hosts, bool queued) {
  const fwbase::test::TempDir directory;
  const std::string path = directory.path("run.log");
  const int each = kRecords / hosts / kThreads * kThreads;
  std::vector<pid_t> children;
  for (int host = 0; host < hosts; ++host) {
    const pid_t child = ::fork();
    if (child == 0) {
      run_host(path, host, queued, each);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    require(child > 0 && ::waitpid(child, &status, 0) == child && status == 0, "a host failed");
  }
  const Written written(path);
  for (int host = 0; host < hosts; ++host) {
    for (int thread = 0; thread < kThreads; ++thread) {
      const std::string who = std::to_string(host) + "." + std::to_string(thread);
      require(written.records(who) == each / kThreads, "the last records are missing");
    }
  }
  require(written.files() > 1, "the log was not rotated");
  return written.reports();
}

}  // namespace

int main(int argc, char** argv) {
  require(argc == 2 && std::atoi(argv[1]) > 0, "usage: descriptor_limit SECONDS");
  const auto end = Clock::now() + std::chrono::seconds(std::atoi(argv[1]));
  int rounds = 0;
  int reports = 0;
  do {
    for (const auto& [hosts, queued] :
         {std::pair(1, false), std::pair(1, true), std::pair(3, false)}) {
      reports += run_hosts(hosts, queued);
      ++rounds;
    }
  } while (Clock::now() < end || reports == 0);
  std::printf("%d rounds, %d rotations failed and were made up for\n", rounds, reports);
  return 0;
}
