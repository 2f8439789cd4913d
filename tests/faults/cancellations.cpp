// Threads that are cancelled: cancellations <scenario> <cancellations> [seed]
//                              cancellations --list
//
// Each repeats operations until pthread_cancel() ends it, after a random time. The process must
// live on, and the next operation succeed: nothing is half done and no lock is left held.
#include <fcntl.h>
#include <fwbase/fwbase.h>
#include <fwbase/module.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <utility/xml.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <random>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "tests/faults/report.h"
#include "tests/harness/host_function.h"
#include "tests/harness/temp_dir.h"
#include "tests/modules/journal.h"

namespace fwbase::faults {

namespace {

using test::HostFunction;
using test::TempDir;
using Action = std::function<void()>;

constexpr const char* kLibrary = FWBASE_FAULTS_MODULE;

// How long a thread works at most before it is cancelled, in nanoseconds.
constexpr long kLongest = 300'000;

IFWBase* facade() { return IFWBase::instance(); }
IRunLog& log() { return *facade()->runlog(); }
IScript& script() { return *facade()->script(); }

/// What a thread does until it is cancelled.
struct Work {
  const Action& act;
  std::atomic<bool> begun{false};
};

void* keep_acting(void* work) {
  Work& own = *static_cast<Work*>(work);
  own.begun = true;
  own.begun.notify_one();
  while (true) {
    own.act();
    ::pthread_testcancel();
  }
}

/// Cancels threads that do nothing but act(), so many times, and tries check() after each.
class Canceller {
 public:
  Canceller(int times, std::mt19937 random) : m_times(times), m_random(random) {}

  void cancel(const std::string& operation, const Action& act, const Action& check) {
    for (int i = 0; i < m_times; ++i) {
      begin_step(operation, "cancellation " + std::to_string(i));
      cancel_one(act);
      count_fault();
      check();
    }
  }

 private:
  void cancel_one(const Action& act) {
    Work work{act};
    pthread_t thread;
    expect(::pthread_create(&thread, nullptr, &keep_acting, &work) == 0, "a thread");
    work.begun.wait(false);
    const timespec while_it_acts = {0, std::uniform_int_distribution(0L, kLongest)(m_random)};
    ::nanosleep(&while_it_acts, nullptr);
    ::pthread_cancel(thread);
    void* result = nullptr;
    ::pthread_join(thread, &result);
    expect(result == PTHREAD_CANCELED, "the thread was not cancelled");
  }

  const int m_times;
  std::mt19937 m_random;
};

/// The facade in service, with all of its records in a file: where each is written directly, hardly
/// an operation is without a point at which a thread may be cancelled.
class Service {
 public:
  Service() { start(); }
  ~Service() { facade()->release(); }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  void start() const {
    expect(ec::succeeded(facade()->init()), "init()");
    expect(ec::succeeded(log().file(log_path().c_str())), "file()");
    log().info(IRunLog::INFO_TIME | IRunLog::INFO_PID);
    log().type(0x3F);
  }

  std::string log_path() const { return m_directory.path("log"); }
  std::string path(const char* name) const { return m_directory.path(name); }
  const std::string& directory() const { return m_directory.path(); }

 private:
  const TempDir m_directory;
};

// --- Records ---

struct Host {
  void trace() { FWBASE_TRACE("scope"); }
};

// Long ones rotate the file every tenth time.
void log_records(Canceller& canceller, bool queued) {
  const Service service;
  log().asynch(queued);
  const std::string message(1024 * 1024, 'm');
  const auto write = [&] { log().write(IRunLog::WARN, message.c_str(), "here"); };
  canceller.cancel("write", write, [&] {
    write();
    FWBASE_LOG_AT(nullptr, ERROR, "%s", "the last one");
    log().asynch(false);
    log().write(IRunLog::WARN, "direct", "here");
    log().asynch(queued);
  });
  facade()->release();
  const std::string text = test::read_file(service.log_path());
  const std::string closing = "[DEBUG]:";
  expect(text.find(closing) != std::string::npos, "the closing record");
  service.start();
}

// Where a write may raise a signal.
void log_fifo(Canceller& canceller) {
  const Service service;
  const std::string path = service.path("fifo");
  expect(::mkfifo(path.c_str(), 0600) == 0, "a FIFO");
  const int reading = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  std::jthread reader([reading](const std::stop_token& stop) {
    char bytes[65536];
    while (!stop.stop_requested() && ::read(reading, bytes, sizeof bytes) > 0) {
    }
  });
  expect(ec::succeeded(log().file(path.c_str())), "file()");
  const auto write = [] { log().write(IRunLog::WARN, "message", "here"); };
  canceller.cancel("write", write, write);
  reader.request_stop();
  write();
  reader.join();
  facade()->release();
  ::close(reading);
}

void log_direct(Canceller& canceller) { log_records(canceller, false); }
void log_queued(Canceller& canceller) { log_records(canceller, true); }

void traces(Canceller& canceller) {
  const Service service;
  for (const bool queued : {false, true}) {
    log().asynch(queued);
    const auto trace = [] { Host().trace(); };
    canceller.cancel("trace", trace, trace);
  }
}

void log_settings(Canceller& canceller) {
  const Service service;
  const auto restart = [&] {
    for (const bool queued : {true, false}) {
      log().init();
      log().file(service.path("first").c_str());
      log().file(service.log_path().c_str());  // closes the first
      log().info(IRunLog::INFO_TIME);
      log().asynch(queued);
      log().write(IRunLog::WARN, "message", "here");
      log().release();
    }
  };
  canceller.cancel("restart", restart, restart);
}

// --- Environments and data blocks ---

struct Object : IGlobalEnv::IObject {
  IObject* clone() const override {
    ::pthread_testcancel();
    return new Object;
  }
  void release() override {
    delete this;
    ::pthread_testcancel();
  }
};

void use_environment(IGlobalEnv& env) {
  const Object object;
  IGlobalEnv::IObject* copy = nullptr;
  int value = 0;
  env.insert_str("string", "text");
  env.ex_str("string", "more", true);
  env.mod_str("string", "text");
  env.get_str("missing");
  env.rm_str("string");
  env.insert_addr("address", &value);
  env.rm_addr("address");
  env.insert_obj("object", &object);
  env.mod_obj("object", &object);
  if (ec::succeeded(env.get_obj("object", &copy))) {
    copy->release();
  }
  env.rm_obj("object");
}

void expect_usable(IGlobalEnv& env) {
  const Object object;
  env.rm_str("string");
  env.rm_obj("object");
  expect(ec::succeeded(env.insert_str("string", "text")) && env.get_str("string") == "text",
         "a string");
  expect(ec::succeeded(env.insert_obj("object", &object)), "an object");
}

void environments(Canceller& canceller) {
  const Service service;
  IGlobalEnv& env = *facade()->global_env();
  canceller.cancel(
      "use", [&] { use_environment(env); }, [&] { expect_usable(env); });
}

void keyed_environments(Canceller& canceller) {
  const Service service;
  int key = 0;
  const auto use = [&] {
    IGlobalEnv* env = nullptr;
    facade()->create_global_env(env, &key);
    const Object object;
    use_environment(*facade()->global_env(static_cast<void*>(&key)));
    facade()->global_env(static_cast<void*>(&key))->insert_obj("object", &object);
    facade()->destroy_global_env(&key);
  };
  canceller.cancel("use", use, [&] {
    facade()->destroy_global_env(&key);
    IGlobalEnv* env = nullptr;
    expect(ec::succeeded(facade()->create_global_env(env, &key)), "a keyed environment");
    expect_usable(*env);
  });
}

void data_blocks(Canceller& canceller) {
  const Service service;
  const auto use = [] {
    IDataBlock* block = nullptr;
    if (ec::succeeded(facade()->db_ft()->create(block, 1024))) {
      block->release();
    }
  };
  canceller.cancel("use", use, use);
}

// --- Modules ---

struct Module : IMM::IBase {
  ec::EC init(void*) override {
    FWBASE_TRACE("");
    ::pthread_testcancel();
    return ec::MM_OK;
  }
  void release() override { ::pthread_testcancel(); }
};

struct Factory : IMM::IFactory {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { ::pthread_testcancel(); }
  IMM::IBase* create() override {
    ::pthread_testcancel();
    return &product;
  }
  void destroy(IMM::IBase*) override { FWBASE_LOG(WARN, "%s", "destroyed"); }

  Module product;
};

IMM::IBase* create_module() {
  static Module module;
  return &module;
}

IMM::IBase* create_factory() {
  static Factory factory;
  return &factory;
}

bool use_modules() {
  IMM& manager = *facade()->mm();
  Journal journal;
  IMM::IBase* from_library = nullptr;
  IMM::IBase* direct = nullptr;
  IMM::IBase* factory = nullptr;
  IMM::IBase* product = nullptr;
  const bool made =
      ec::succeeded(manager.create_module(from_library, kLibrary, "create_module", &journal)) &&
      ec::succeeded(manager.create_module(direct, &create_module, nullptr)) &&
      ec::succeeded(manager.create_module(factory, &create_factory, nullptr)) &&
      ec::succeeded(manager.create_module(product, static_cast<IMM::IFactory*>(factory), nullptr));
  manager.create_module(direct, "none/such\n", "create", nullptr);
  const bool destroyed = manager.destroy_module(product) && manager.destroy_module(factory) &&
                         manager.destroy_module(create_module()) &&
                         manager.destroy_module(from_library);
  return made && destroyed;
}

// The manager unloads the library. What was made and not destroyed is released.
void modules(Canceller& canceller) {
  const Service service;
  const auto use = [] {
    use_modules();
    facade()->mm()->release();
    facade()->mm()->init();
  };
  canceller.cancel("use", use, [&] {
    facade()->mm()->init();
    expect(use_modules(), "modules");
  });
}

// --- Scripts ---

constexpr const char* kScript =
    "<korvid><template><Func name='greet'><param tag='whom' type='string'/></Func></template>"
    "<Process name=''><Data><var name='v' type='string' value='0'/></Data>"
    "<Exec><section name='all'><greet><whom>\xE5\xA5\xBD</whom></greet></section></Exec>"
    "</Process></korvid>";

class LoadedScript {
 public:
  LoadedScript() {
    test::write_file(path(), kScript);
    load();
  }

  bool load() {
    script().release();
    return ec::succeeded(script().init()) && script().expand_syntax(&greet) &&
           ec::succeeded(script().load_script(path().c_str()));
  }

  std::string path() const { return service.path("script.xml"); }

  const Service service;
  HostFunction greet{"greet", {IScript::VT_STRING}, [](auto, auto, auto) -> ec::EC {
                       ::pthread_testcancel();
                       return ec::SCRIPT_OK;
                     }};
};

bool run() { return ec::succeeded(script().exec_scommad("all", nullptr)); }

void load_script(Canceller& canceller) {
  LoadedScript loaded;
  canceller.cancel(
      "load", [&] { loaded.load(); }, [&] { expect(loaded.load() && run(), "a script"); });
}

// The file is always a whole one.
void save_script(Canceller& canceller) {
  LoadedScript loaded;
  int number = 0;
  const auto save = [&] {
    const std::string value = std::to_string(++number);
    return ec::succeeded(script().set_value("v", IScript::VT_STRING, &value)) &&
           ec::succeeded(script().save_script());
  };
  canceller.cancel("save", save, [&] {
    utility::CXml xml;
    expect(xml.load(loaded.path()) == utility::XEC_OK, "half a file");
    xml.release();
    expect(save(), "the next save");
    const std::ptrdiff_t files =
        std::distance(std::filesystem::directory_iterator(loaded.service.directory()), {});
    expect(files == 2, "a stray file beside the script and the log");
  });
}

// Others read variables now and then: a run that takes the lock back after a call waits for them.
class Readers {
 public:
  Readers() {
    for (std::jthread& thread : m_threads) {
      thread = std::jthread([](const std::stop_token& stop) {
        constexpr timespec kPause = {0, 100'000};
        std::string value;
        for (int i = 1; !stop.stop_requested(); ++i) {
          script().get_value("v", IScript::VT_STRING, &value);
          if (i % 64 == 0) {
            ::nanosleep(&kPause, nullptr);
          }
        }
      });
    }
  }

 private:
  std::array<std::jthread, 4> m_threads;
};

void run_sections(Canceller& canceller) {
  const LoadedScript loaded;
  const Readers readers;
  canceller.cancel(
      "run", [] { run(); },
      [] { expect(run() && !ec::succeeded(script().exec_scommad("none", nullptr)), "a section"); });
}

void documents(Canceller& canceller) {
  const Service service;
  const std::string path = service.path("document.xml");
  test::write_file(path, kScript);
  const auto use = [&] {
    utility::CXml xml;
    std::vector<utility::CElement> calls;
    const bool used =
        xml.load(path) == utility::XEC_OK &&
        xml.get_xpath_element("Process/Exec/section/greet", calls) == utility::XEC_OK &&
        xml.save() == utility::XEC_OK && xml.save_as(path + ".other") == utility::XEC_OK;
    xml.release();
    return used;
  };
  canceller.cancel("use", use, [&] { expect(use(), "a document"); });
}

// --- The facade and the process ---

void life(Canceller& canceller) {
  const Service service;
  const auto live = [&] {
    facade()->init();
    log().file(service.log_path().c_str());
    log().asynch(true);
    log().type(0x3F);
    use_environment(*facade()->global_env());
    IMM::IBase* module = nullptr;
    facade()->mm()->create_module(module, &create_module, nullptr);
    facade()->release();
  };
  canceller.cancel("live", live, [&] {
    if (facade()->runlog() != nullptr) {
      log().file(service.log_path().c_str());  // not the closing record to standard output
    }
    facade()->release();
    service.start();
    expect(use_modules(), "modules");
  });
}

int status_of(pid_t child) {
  int status = -1;
  return ::waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A thread that is to be cancelled forks before it comes to that.
void forks(Canceller& canceller) {
  constexpr int kGood = 42;
  const Service service;
  const auto fork = [] {
    ::pthread_cancel(::pthread_self());
    const pid_t child = ::fork();
    ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    if (child == 0) {
      log().write(IRunLog::WARN, "child", "here");
      ::_exit(kGood);
    }
    expect(status_of(child) == kGood, "the child did not go on");
    ::pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
  };
  canceller.cancel("fork", fork, [] {});
}

// So does one that calls exit().
void exits(Canceller& canceller) {
  constexpr int kGood = 42;
  const Service service;
  const auto exit_in_child = [] {
    const pid_t child = ::fork();
    if (child == 0) {
      facade()->init();
      log().asynch(true);
      ::pthread_cancel(::pthread_self());
      std::exit(kGood);
    }
    expect(status_of(child) == kGood, "the child did not exit");
  };
  canceller.cancel(
      "fork", [] {}, exit_in_child);
}

struct Scenario {
  const char* name;
  void (*run)(Canceller& canceller);
};

constexpr Scenario kScenarios[] = {{"log_direct", log_direct},
                                   {"log_fifo", log_fifo},
                                   {"log_queued", log_queued},
                                   {"traces", traces},
                                   {"log_settings", log_settings},
                                   {"environments", environments},
                                   {"keyed_environments", keyed_environments},
                                   {"data_blocks", data_blocks},
                                   {"modules", modules},
                                   {"load_script", load_script},
                                   {"save_script", save_script},
                                   {"run_sections", run_sections},
                                   {"documents", documents},
                                   {"life", life},
                                   {"forks", forks},
                                   {"exits", exits}};

int run(const Scenario& scenario, int times, const char* seed) {
  Canceller canceller(times, seeded(seed));
  begin_scenario(std::string("cancellations ") + scenario.name);
  scenario.run(canceller);
  return end_scenario();
}

}  // namespace

}  // namespace fwbase::faults

int main(int argc, char** argv) {
  using namespace fwbase::faults;
  const std::string wanted = argc > 1 ? argv[1] : "";
  for (const Scenario& scenario : kScenarios) {
    if (wanted == "--list") {
      std::puts(scenario.name);
    } else if (argc > 2 && wanted == scenario.name) {
      return run(scenario, std::atoi(argv[2]), argc > 3 ? argv[3] : nullptr);
    }
  }
  if (wanted != "--list") {
    std::fprintf(stderr, "usage: cancellations <scenario> <cancellations> [seed]\n");
  }
  return wanted == "--list" ? 0 : 2;
}
