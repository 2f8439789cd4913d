// Hosts that fork: fork_host <scenario> <forks>
//
// Threads of the parent use the library all the while. Each child does what the scenario names and
// exits; the program succeeds when every child could, ended with status 0 and wrote all of its
// records, in order, and when all records of the parent are there as well.
#include <fwbase/fwbase.h>
#include <iconv.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include <xercesc/util/XMLString.hpp>

#include "tests/harness/host_function.h"
#include "tests/harness/script_file.h"

// Processes that end while threads run are the point here: no need to wait for their reports.
// Children of a process with threads may start threads.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "atexit_sleep_ms=0:die_after_fork=0"; }

// A child has the memory of the parent's threads and of their queue, but nobody who refers to it.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace {

constexpr int kThreads = 3;
constexpr int kRecords = 200;            // more than the queue takes
constexpr unsigned int kPatience = 120;  // seconds until a child that hangs is ended

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;

IFWBase* facade() { return IFWBase::instance(); }

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "process %d: %s\n", static_cast<int>(::getpid()), what);
  std::_Exit(1);
}

void require(bool good, const char* what) {
  if (!good) {
    fail(what);
  }
}

void write_records(const std::string& who) {
  for (int i = 0; i < kRecords; ++i) {
    facade()->runlog()->write(IRunLog::WARN, (who + " " + std::to_string(i)).c_str(), "");
  }
}

struct Module : IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
};

IMM::IBase* create() { return new Module; }

// Everything that takes a lock.
void use_all(int who) {
  const std::string name = "name" + std::to_string(who);
  const std::int32_t value = who;
  std::int32_t read = -1;
  IScript& script = *facade()->script();
  require(ec::succeeded(script.set_value(name.c_str(), IScript::VT_INT, &value)) &&
              ec::succeeded(script.get_value(name.c_str(), IScript::VT_INT, &read)) &&
              read == value,
          "script variables");
  IGlobalEnv& shared = *facade()->global_env();
  require(ec::succeeded(shared.insert_str(name.c_str(), "text")) &&
              shared.get_str(name.c_str()) == "text",
          "default environment");
  shared.rm_str(name.c_str());
  IGlobalEnv* env = nullptr;
  int key = 0;
  require(ec::succeeded(facade()->create_global_env(env, &key)) &&
              ec::succeeded(env->insert_addr("address", &key)) &&
              facade()->global_env(static_cast<void*>(&key)) == env,
          "keyed environment");
  facade()->destroy_global_env(&key);
  IMM::IBase* module = nullptr;
  require(ec::succeeded(facade()->mm()->create_module(module, &create, nullptr)) &&
              facade()->mm()->destroy_module(module),
          "module");
}

// The variable and the argument in Chinese need converters.
constexpr const char* kScript =
    "<korvid><template><Func name='greet'><param tag='whom' type='string'/></Func></template>"
    "<Process name=''><Data><var name='v' type='string' value='\xE4\xBD\xA0'/></Data>"
    "<Exec><section name='all'><greet><whom>\xE5\xA5\xBD</whom></greet></section></Exec>"
    "</Process></korvid>";

// A script from its file and back.
void use_script() {
  IScript& script = *facade()->script();
  fwbase::test::HostFunction greet("greet", {IScript::VT_STRING});
  const fwbase::test::ScriptFile file(kScript);
  std::string value;
  require(script.expand_syntax(&greet) && ec::succeeded(script.load_script(file.path())),
          "loading a script");
  require(ec::succeeded(script.exec_scommad("all", nullptr)) &&
              greet.calls() == std::vector<std::string>{"greet('\xE5\xA5\xBD')"},
          "running a section");
  require(
      ec::succeeded(script.get_value("v", IScript::VT_STRING, &value)) && value == "\xE4\xBD\xA0",
      "a variable of the script");
  value += "\xE5\xA5\xBD";
  require(ec::succeeded(script.set_value("v", IScript::VT_STRING, &value)) &&
              ec::succeeded(script.save_script()) && file.text().find(value) != std::string::npos,
          "saving a script");
  script.release();
  require(ec::succeeded(script.init()), "init() of the engine");
}

// What the host does of its own, under locks that no fork waits for: conversions by the XML
// library, and opening a converter of the C library.
void use_other_libraries() {
  XMLCh* wide = xercesc::XMLString::transcode("text");
  xercesc::XMLString::release(&wide);
  const iconv_t converter = ::iconv_open("GBK", "UTF-8");
  require(converter != reinterpret_cast<iconv_t>(-1), "iconv_open()");
  ::iconv_close(converter);
}

// All of these take the C library's lock of the time zone.
void use_time_zone() {
  std::time_t now = std::time(nullptr);
  std::tm local = {};
  require(::localtime_r(&now, &local) != nullptr && std::mktime(&local) == now, "local time");
}

void start(const std::string& path) {
  require(ec::succeeded(facade()->init()), "init()");
  require(ec::succeeded(facade()->runlog()->file(path.c_str())), "file()");
  facade()->runlog()->info(IRunLog::INFO_TIME | IRunLog::INFO_PID);
  facade()->runlog()->asynch(true);
}

// Threads that keep the library busy until they are stopped.
class BusyThreads {
 public:
  BusyThreads() {
    for (int i = 0; i < kThreads; ++i) {
      m_threads.emplace_back([this, i] {
        while (!m_stop) {
          use_all(i);
          if (m_rounds[i] < kRounds) {
            write_records("parent" + std::to_string(i));
            ++m_rounds[i];
          }
        }
      });
    }
    for (void (*const use)() : {use_other_libraries, use_time_zone}) {
      m_threads.emplace_back([this, use] {
        while (!m_stop) {
          use();
        }
      });
    }
  }
  ~BusyThreads() { stop(); }

  void stop() {
    m_stop = true;
    for (std::thread& thread : m_threads) {
      thread.join();
    }
    m_threads.clear();
  }

  int rounds(int thread) const { return m_rounds[thread]; }

 private:
  static constexpr int kRounds = 100;  // the log must not be rotated

  std::atomic<bool> m_stop{false};
  std::atomic<int> m_rounds[kThreads] = {};
  std::vector<std::thread> m_threads;
};

// "[WARN ]: pid:4711 Wed Oct 29 10:20:30 2014 \r"
bool is_first_line(const std::string& line, const std::string& tag) {
  constexpr std::size_t kWithoutPid = 39;
  return line.compare(0, tag.size(), tag) == 0 && line.compare(8, 5, " pid:") == 0 &&
         line.size() > kWithoutPid && line.compare(line.size() - 2, 2, " \r") == 0;
}

// The messages' numbers by who wrote them, in the order of the file.
typedef std::map<std::string, std::vector<int>> Messages;

Messages read_messages(const std::string& path) {
  Messages result;
  std::ifstream in(path, std::ios::binary);
  std::string line;
  while (std::getline(in, line)) {
    std::string message;
    require(static_cast<bool>(std::getline(in, message)), "half a record");
    if (is_first_line(line,
                      "[DEBUG]:")) {  // the closing record of a child that released the library
      require(message == " >" && std::getline(in, message) && message == "log system release" &&
                  std::getline(in, message) && message.empty(),
              "a torn closing record");
      continue;
    }
    require(is_first_line(line, "[WARN ]:"), "a torn first line");
    std::istringstream words(message);
    std::string who;
    int number = 0;
    require(static_cast<bool>(words >> who >> number) && who[0] == '>', "a torn message");
    result[who.substr(1)].push_back(number);
  }
  return result;
}

void expect_rounds(const Messages& messages, const std::string& who, int rounds) {
  const auto found = messages.find(who);
  const std::vector<int> numbers = found != messages.end() ? found->second : std::vector<int>();
  require(numbers.size() == static_cast<std::size_t>(rounds) * kRecords, "records are missing");
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    require(numbers[i] == static_cast<int>(i) % kRecords, "records are out of order");
  }
}

// A child that goes on with what the parent set up.
void inherited(const std::string& who, const std::string&) {
  write_records(who);
  use_all(kThreads);
  use_script();
}

// A child that starts anew, with a writer thread of its own.
void restarted(const std::string& who, const std::string& path) {
  start(path);
  write_records(who);
  use_all(kThreads);
  use_script();
  facade()->release();
}

// A module that forks while the manager holds its lock; the child comes out of the manager too.
struct ForkingModule : Module {
  ec::EC init(void* child) override {
    *static_cast<pid_t*>(child) = ::fork();
    return ec::MM_OK;
  }
};

pid_t fork_plainly() { return ::fork(); }

pid_t fork_in_module() {
  pid_t child = -1;
  IMM::IBase* module = nullptr;
  IMM::IBase* (*const create_forking)() = [] {
    return static_cast<IMM::IBase*>(new ForkingModule);
  };
  require(ec::succeeded(facade()->mm()->create_module(module, create_forking, &child)),
          "module that forks");
  require(facade()->mm()->destroy_module(module), "module that forked");
  return child;
}

struct Scenario {
  const char* name;
  pid_t (*fork)();
  void (*child)(const std::string& who, const std::string& path);
};

constexpr Scenario kScenarios[] = {{"inherited", fork_plainly, inherited},
                                   {"restarted", fork_plainly, restarted},
                                   {"in_module", fork_in_module, inherited}};

void run(const Scenario& scenario, int forks, const std::string& path) {
  start(path);
  BusyThreads busy;
  for (int i = 0; i < forks; ++i) {
    const pid_t child = scenario.fork();
    if (child == 0) {
      ::alarm(kPatience);
      scenario.child("child" + std::to_string(i), path);
      std::exit(0);
    }
    int status = -1;
    require(child > 0 && ::waitpid(child, &status, 0) == child && status == 0, "a child failed");
  }
  busy.stop();
  facade()->release();

  const Messages messages = read_messages(path);
  for (int i = 0; i < forks; ++i) {
    expect_rounds(messages, "child" + std::to_string(i), 1);
  }
  for (int i = 0; i < kThreads; ++i) {
    expect_rounds(messages, "parent" + std::to_string(i), busy.rounds(i));
  }
}

}  // namespace

int main(int argc, char** argv) {
  require(argc == 3, "usage: fork_host <scenario> <forks>");
  std::string path = (std::filesystem::temp_directory_path() / "fwbase_fork_XXXXXX").string();
  ::close(::mkstemp(path.data()));
  bool ran = false;
  for (const Scenario& scenario : kScenarios) {
    if (scenario.name == std::string(argv[1])) {
      run(scenario, std::atoi(argv[2]), path);
      ran = true;
    }
  }
  ::unlink(path.c_str());
  require(ran, "no such scenario");
  return 0;
}
