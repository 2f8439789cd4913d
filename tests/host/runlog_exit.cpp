// Exits of hosts that never call release(): runlog_exit <scenario> <exits>
//
// Each exit is that of a child process which starts the log, leaves the writer and some threads of
// its own in the state that the scenario names, and calls exit(). The program succeeds when every
// child ended with status 0 and every record that its main thread wrote is in the log, in order.
#include <fwbase/fwbase.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

// Processes that end while threads run are the point here: no need to wait for their reports.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "atexit_sleep_ms=0"; }

namespace {

constexpr int kThreads = 3;
constexpr int kRecords = 200;
constexpr unsigned int kPatience = 120;  // seconds until a child that hangs is ended

using fwbase::IFWBase;
using fwbase::IRunLog;

void write_record(const std::string& message) {
  if (IRunLog* const log = IFWBase::instance()->runlog()) {
    log->write(IRunLog::ERROR, message.c_str(), "location");
  }
}

// Outlives the facade, which is made later.
struct LastWords {
  ~LastWords() { write_record("last words"); }
} last_words;

void start_log(const std::string& path, bool queued) {
  if (ec::failed(IFWBase::instance()->init()) ||
      ec::failed(IFWBase::instance()->runlog()->file(path.c_str()))) {
    std::_Exit(2);
  }
  IFWBase::instance()->runlog()->asynch(queued);
}

void start_threads() {
  for (int i = 0; i < kThreads; ++i) {
    std::thread([] {
      const std::string message(30, 'x');
      for (;;) {
        write_record(message);
      }
    }).detach();
  }
}

void write_records() {
  for (int i = 0; i < kRecords; ++i) {
    write_record("main " + std::to_string(i));
  }
}

void wait_for_bytes(const std::string& path) {
  struct stat status = {};
  while (::stat(path.c_str(), &status) != 0 || status.st_size == 0) {
    std::this_thread::yield();
  }
}

int end_of(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

// The writer waits for messages.
void idle(const std::string& path) {
  start_log(path, true);
  write_record("main 0");
  wait_for_bytes(path);
}

// The queue is full, and more threads want to write into it.
void queued(const std::string& path) {
  start_log(path, true);
  start_threads();
  write_records();
}

void direct(const std::string& path) {
  start_log(path, false);
  start_threads();
  write_records();
}

// A child of the host has no writer, whatever it inherits: it may release, and it may exit.
void forked(const std::string& path) {
  start_log(path, false);
  write_records();
  for (const bool release : {true, false}) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::alarm(kPatience);
      if (release) {
        IFWBase::instance()->release();
      }
      std::exit(0);
    }
    if (end_of(child) != 0) {
      std::_Exit(3);
    }
  }
}

struct Scenario {
  const char* name;
  void (*run)(const std::string& path);
  int records;
};

constexpr Scenario kScenarios[] = {{"idle", idle, 1},
                                   {"queued", queued, kRecords},
                                   {"direct", direct, kRecords},
                                   {"forked", forked, kRecords}};

// The file and its backups, from the oldest on: the threads may have written a lot.
std::string whole_log(const std::string& path) {
  std::ostringstream content;
  for (const char* part : {".bak.3", ".bak.2", ".bak.1", ".bak.0", ""}) {
    std::ifstream file(path + part, std::ios::binary);
    if (file && file.peek() != std::ifstream::traits_type::eof()) {
      content << file.rdbuf();
    }
  }
  return content.str();
}

bool holds_all_records(const std::string& path, int records) {
  const std::string log = whole_log(path);
  std::size_t at = 0;
  for (int i = 0; i < records; ++i) {
    at = log.find("\r\n >main " + std::to_string(i) + "\n", at);
    if (at == std::string::npos) {
      std::fprintf(stderr, "record %d is missing\n", i);
      return false;
    }
  }
  return log.find("\r\n >last words\n", at) != std::string::npos;
}

bool exits_cleanly(const Scenario& scenario, const std::string& path) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(kPatience);
    scenario.run(path);
    std::exit(0);
  }
  const int status = end_of(child);
  const bool good = status == 0 && holds_all_records(path, scenario.records);
  if (!good) {
    std::fprintf(stderr, "%s: status 0x%x\n", scenario.name, static_cast<unsigned int>(status));
  }
  return good;
}

}  // namespace

int main(int argc, char** argv) {
  std::string directory = (std::filesystem::temp_directory_path() / "fwbase_exit_XXXXXX").string();
  bool good = argc == 3 && ::mkdtemp(directory.data()) != nullptr;
  int ran = 0;
  for (const Scenario& scenario : kScenarios) {
    for (int i = 0; good && argv[1] == std::string(scenario.name) && i < std::atoi(argv[2]); ++i) {
      const std::string path = directory + "/" + std::to_string(i);
      std::filesystem::create_directory(path);
      good = exits_cleanly(scenario, path + "/host.log");
      std::filesystem::remove_all(path);
      ++ran;
    }
  }
  std::filesystem::remove_all(directory);
  std::printf("%d exits\n", ran);
  return good && ran > 0 ? 0 : 1;
}
