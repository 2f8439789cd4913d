// scripts_side_by_side SECONDS [SEED]: eight threads run sections of one engine, set and read
// variables, load scripts on top of each other and save, while another one releases and starts the
// engine again and again, now and then under sections that run. Meant for the thread sanitizer.
// Each call must come with the arguments of its run, and each result must be one that IScript
// promises.
#include <fwbase/fwbase.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/harness/temp_dir.h"

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::IScript;
using Clock = std::chrono::steady_clock;

constexpr int kThreads = 8;
constexpr std::int32_t kLiteralNumber = 4711;
constexpr const char* kLiteralText = "a text of the script";
constexpr ec::EC kFunctionFailed = ec::DB_NO_MEMORY;
constexpr std::size_t kManyCalls = 40;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "scripts_side_by_side: %s\n", what);
  std::_Exit(1);
}

void require(bool good, const char* what) {
  if (!good) {
    fail(what);
  }
}

// What all threads use.
struct World {
  IScript& script = *IFWBase::instance()->script();
  fwbase::test::TempDir directory;
  std::shared_mutex rounds;             // held by operations, and to end a round in quiet
  std::atomic<unsigned int> round{0};   // odd while the engine is not in service
  std::atomic<bool> round_ends{false};  // nobody begins an operation
  std::atomic<bool> stop{false};
  std::atomic<long> operations{0};
  std::atomic<long> loads{0};
  std::atomic<long> calls{0};
  char shared_env = 0;
};

// Whether a round waits for operations to end before it does.
bool ends_in_quiet(unsigned int round) { return round / 2 % 2 == 0; }

class Worker;
thread_local Worker* worker = nullptr;  // of the present thread

// One thread's operations. What it expects holds unless the round ends meanwhile: that counts
// before the engine is released.
class Worker {
 public:
  Worker(World& world, int number, unsigned int seed)
      : m_world(world), m_name("thread" + std::to_string(number)), m_random(seed) {}

  void run() {
    worker = this;
    const Operation operations[] = {
        &Worker::run_own,          &Worker::run_own,       &Worker::run_shared,
        &Worker::run_nested,       &Worker::run_many,      &Worker::run_many,
        &Worker::run_throwing,     &Worker::run_failing,   &Worker::run_nobody,
        &Worker::set_global,       &Worker::change_shared, &Worker::load,
        &Worker::load_again,       &Worker::load_damaged,  &Worker::save,
        &Worker::register_function};
    while (!m_world.stop) {
      if (m_world.round_ends) {
        std::this_thread::yield();
      } else {
        begin(operations[pick(std::size(operations))]);
      }
    }
  }

  // --- For functions ---

  void expect(bool good, const char* what) {
    if (!good && m_world.round == m_round) {
      fail(what);
    }
  }

  World& world() { return m_world; }
  void* env() { return m_env; }
  std::int32_t number() const { return m_number; }
  const std::string& text() const { return m_text; }
  void note_call(std::int32_t number) { m_calls.push_back(number); }

  // Other threads shall get to run while a function does.
  void take_a_while() {
    const std::size_t turns = pick(3);
    for (std::size_t i = 0; i < turns; ++i) {
      std::this_thread::yield();
    }
  }

  // In the environment of another thread's shared variables, and back.
  void run_section_within() {
    void* const outer = m_env;
    run_section("shared", &m_world.shared_env, {ec::FW_OK});
    m_env = outer;
  }

 private:
  typedef void (Worker::*Operation)();

  // Without the lock the round may end under the operation.
  void begin(Operation operation) {
    std::shared_lock<std::shared_mutex> lock(m_world.rounds, std::defer_lock);
    if (ends_in_quiet(m_world.round)) {
      lock.lock();
    }
    m_round = m_world.round;
    if (m_round % 2 == 0) {
      m_calls.clear();
      (this->*operation)();
      ++m_world.operations;
    } else {
      std::this_thread::yield();
    }
  }

  std::size_t pick(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
  }

  IScript& script() { return m_world.script; }

  // A text that shows when it is torn: one letter, again and again.
  std::string uniform_text() {
    return std::string(1 + pick(200), static_cast<char>('a' + pick(26)));
  }

  void set_own_variables() {
    m_number = static_cast<std::int32_t>(pick(1000000));
    m_text = m_name + uniform_text();
    expect(ec::succeeded(script().set_value_env("number", IScript::VT_INT, &m_number, this)) &&
               ec::succeeded(script().set_value_env("text", IScript::VT_STRING, &m_text, this)),
           "a variable cannot be set");
  }

  void run_section(const char* section, void* env, std::initializer_list<ec::EC> results) {
    m_env = env;
    const ec::EC result = script().exec_scommad(section, env);
    expect(std::find(results.begin(), results.end(), result) != results.end(),
           "a run has a wrong result");
  }

  // --- Runs ---

  void run_own() {
    set_own_variables();
    run_section("own", this, {ec::FW_OK});
    std::int32_t result = 0;
    const ec::EC code = script().get_value_env("result", IScript::VT_INT, &result, this);
    expect(ec::succeeded(code) && result == m_number + 1, "a run lost its result");
    expect(m_calls == std::vector<std::int32_t>{m_number, m_number + 1}, "calls are missing");
  }

  void run_shared() { run_section("shared", &m_world.shared_env, {ec::FW_OK}); }

  void run_nested() {
    set_own_variables();
    run_section("nested", this, {ec::FW_OK});
  }

  void run_many() {
    run_section("many", this, {ec::FW_OK});
    expect(m_calls == std::vector<std::int32_t>(kManyCalls, 1), "calls are missing");
  }

  void run_throwing() {
    bool thrown = false;
    try {
      run_section("throwing", this, {});
    } catch (const std::runtime_error&) {
      thrown = true;
    }
    expect(thrown && m_calls == std::vector<std::int32_t>{1}, "an exception did not end the run");
  }

  void run_failing() {
    run_section("failing", this, {kFunctionFailed});
    expect(m_calls == std::vector<std::int32_t>{1}, "a failure did not end the run");
  }

  void run_nobody() { run_section("nobody", this, {ec::SCRIPT_E_SECTION}); }

  // --- Variables ---

  void set_global() {
    const std::string text = uniform_text();
    std::string read;
    std::int32_t number = 0;
    expect(ec::succeeded(script().set_value(m_name.c_str(), IScript::VT_STRING, &text)) &&
               ec::succeeded(script().get_value(m_name.c_str(), IScript::VT_STRING, &read)) &&
               read == text,
           "a global variable lost its value");
    expect(script().get_value(m_name.c_str(), IScript::VT_INT, &number) == ec::SCRIPT_BAD_PARAM,
           "a text was read as a number");
    expect(
        script().rm_value(m_name.c_str()) == ec::SCRIPT_OK &&
            script().get_value(m_name.c_str(), IScript::VT_STRING, &read) == ec::SCRIPT_NOT_FOUND,
        "a global variable was not removed");
  }

  void change_shared() {
    const std::string text = uniform_text();
    std::string read = text;
    expect(ec::succeeded(
               script().set_value_env("shared", IScript::VT_STRING, &text, &m_world.shared_env)) &&
               ec::succeeded(script().get_value_env("shared", IScript::VT_STRING, &read,
                                                    &m_world.shared_env)),
           "the shared variable cannot be set or read");
    require(!read.empty() && read.find_first_not_of(read[0]) == std::string::npos,
            "the shared variable is torn");
    expect(ec::succeeded(script().set_value("shared", IScript::VT_STRING, &text)) &&
               ec::succeeded(script().get_value("shared", IScript::VT_STRING, &read)),
           "the shared global variable cannot be set or read");
    require(!read.empty() && read.find_first_not_of(read[0]) == std::string::npos,
            "the shared global variable is torn");
  }

  // --- Loads and saves ---

  // A section with a name of its own, whose calls are then made.
  void load() {
    if (pick(4) != 0) {
      return;
    }
    const std::string name = m_name + "_" + std::to_string(m_loaded++);
    std::vector<std::int32_t> numbers(1 + pick(8));
    std::string text = "<korvid><Process name=''><Exec><section name='" + name + "'>";
    for (std::int32_t& number : numbers) {
      number = static_cast<std::int32_t>(pick(1000));
      text += "<note><number>" + std::to_string(number) + "</number></note>";
    }
    const std::string path = m_world.directory.path(name + ".xml");
    fwbase::test::write_file(path, text + "</section></Exec></Process></korvid>");
    expect(script().load_script(path.c_str()) == ec::SCRIPT_OK, "a script cannot be loaded");
    ++m_world.loads;
    run_section(name.c_str(), this, {ec::FW_OK});
    expect(m_calls == numbers, "the calls of a script are not those of its file");
  }

  // From a new file each time: into one that was loaded before, a save may have put variables.
  void load_again() {
    if (pick(8) == 0) {
      const std::string name = m_name + "_again_" + std::to_string(m_loaded++) + ".xml";
      const std::string path = m_world.directory.path(name);
      fwbase::test::write_file(path,
                               "<korvid><Process name=''><Exec><section name='own'/></Exec>"
                               "</Process></korvid>");
      expect(script().load_script(path.c_str()) == ec::SCRIPT_E_SECTION_DUP,
             "a section was loaded twice");
    }
  }

  void load_damaged() {
    if (pick(16) == 0) {
      const std::string path = m_world.directory.path("damaged.xml");
      expect(script().load_script(path.c_str()) == ec::SCRIPT_E_LOAD, "a damaged file was loaded");
    }
  }

  // The document is that of the load before, in whatever thread.
  void save() {
    if (pick(32) == 0) {
      const ec::EC code = script().save_script();
      expect(code == ec::SCRIPT_OK || code == ec::SCRIPT_E_FORMAT, "a save has a wrong result");
    }
  }

  void register_function();

  World& m_world;
  const std::string m_name;
  std::minstd_rand m_random;
  unsigned int m_round = 0;  // in which the present operation began
  unsigned int m_loaded = 0;
  void* m_env = nullptr;  // of the innermost run
  std::int32_t m_number = 0;
  std::string m_text;
  std::vector<std::int32_t> m_calls;
};

// --- The host's functions: called on the thread that runs the section ---

class Function : public IScript::ISyntax {
 public:
  using Types = std::vector<IScript::VType>;
  using Body = ec::EC (*)(Worker& caller, const IScript::VValue* args, const char* ret);

  Function(const char* name, Types types, Body body)
      : m_name(name), m_types(std::move(types)), m_body(body) {}

  const char* name() override { return m_name; }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }
  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    ++worker->world().calls;
    require(env == worker->env(), "a call has the environment of another run");
    return m_body(*worker, args, ret);
  }

 private:
  const char* const m_name;
  Types m_types;
  const Body m_body;
};

// The variables of the run's environment.
ec::EC own(Worker& caller, const IScript::VValue* args, const char* ret) {
  const std::string before = args[1].string_value;
  caller.expect(args[0].int_value == caller.number() && before == caller.text(),
                "an argument is not the variable of its run");
  caller.take_a_while();
  require(before == args[1].string_value, "an argument has changed during its call");
  require(ret == nullptr, "a call has a name for its result");
  caller.note_call(args[0].int_value);
  return ec::FW_OK;
}

ec::EC literal(Worker&, const IScript::VValue* args, const char* ret) {
  require(args[0].int_value == kLiteralNumber &&
              std::strcmp(args[1].string_value, kLiteralText) == 0 && ret == nullptr,
          "a literal argument is wrong");
  return ec::FW_OK;
}

ec::EC store_next(Worker& caller, const IScript::VValue* args, const char* ret) {
  require(ret != nullptr && std::strcmp(ret, "result") == 0, "the name for a result is wrong");
  const std::int32_t next = args[0].int_value + 1;
  return caller.world().script.set_value_env(ret, IScript::VT_INT, &next, caller.env());
}

ec::EC note(Worker& caller, const IScript::VValue* args, const char*) {
  caller.note_call(args[0].int_value);
  return ec::FW_OK;
}

// Others change the variable all the time; an argument is one of its values. It is not there yet
// when nobody has set it in this round.
ec::EC shared(Worker& caller, const IScript::VValue* args, const char*) {
  const std::string before = args[0].string_value;
  require(before.empty() || before.find_first_not_of(before[0]) == std::string::npos,
          "an argument is torn");
  caller.take_a_while();
  require(before == args[0].string_value, "an argument has changed during its call");
  return ec::FW_OK;
}

ec::EC run_within(Worker& caller, const IScript::VValue*, const char*) {
  caller.run_section_within();
  return ec::FW_OK;
}

ec::EC throw_something(Worker& caller, const IScript::VValue*, const char*) {
  caller.note_call(1);
  throw std::runtime_error("thrown by a function");
}

ec::EC return_failure(Worker& caller, const IScript::VValue*, const char*) {
  caller.note_call(1);
  return kFunctionFailed;
}

ec::EC never(Worker&, const IScript::VValue*, const char*) {
  fail("a call after the end of a run");
}

constexpr auto kInt = IScript::VT_INT;
constexpr auto kString = IScript::VT_STRING;

Function functions[] = {{"own", {kInt, kString}, own},
                        {"literal", {kInt, kString}, literal},
                        {"store_next", {kInt}, store_next},
                        {"note", {kInt}, note},
                        {"shared", {kString}, shared},
                        {"run_within", {}, run_within},
                        {"throw_something", {}, throw_something},
                        {"return_failure", {}, return_failure},
                        {"never", {}, never}};

// Does as the one that is there already; runs go on with the one that was registered last.
void Worker::register_function() {
  if (pick(16) == 0) {
    expect(script().expand_syntax(&functions[pick(std::size(functions))]),
           "a function cannot be registered");
  }
}

// --- Rounds ---

std::string declaration(const char* name, const char* parameters) {
  return std::string("<Func name='") + name + "'>" + parameters + "</Func>";
}

std::string script_text() {
  const std::string number = "<param tag='number' type='int'/>";
  const std::string text = "<param tag='text' type='string'/>";
  const std::string own_call =
      "<own><number><ref>number</ref></number><text><ref>text</ref></text></own>";
  const std::string literal_call = "<literal><number>" + std::to_string(kLiteralNumber) +
                                   "</number><text>" + kLiteralText + "</text></literal>";
  const std::string shared_call = "<shared><text><ref>shared</ref></text></shared>";
  std::string all = "<korvid><template>";
  for (const char* name : {"own", "literal"}) {
    all += declaration(name, (number + text).c_str());
  }
  for (const char* name : {"store_next", "note"}) {
    all += declaration(name, number.c_str());
  }
  all += declaration("shared", text.c_str());
  for (const char* name : {"run_within", "throw_something", "return_failure", "never"}) {
    all += declaration(name, "");
  }
  all += "</template><Process name=''><Exec><section name='own'>" + own_call + literal_call +
         "<store_next><number><ref>number</ref></number><ret>result</ret></store_next>"
         "<note><number><ref>result</ref></number></note></section>"
         "<section name='shared'>" +
         shared_call + literal_call + shared_call + "</section><section name='nested'>" + own_call +
         "<run_within/>" + own_call +
         "</section><section name='throwing'><throw_something/><never/></section>"
         "<section name='failing'><return_failure/><never/></section><section name='many'>";
  for (std::size_t i = 0; i < kManyCalls; ++i) {
    all += i % 2 == 0 ? "<note><number>1</number></note>"
                      : "<note><params><number>1</number></params></note>";
  }
  return all + "</section></Exec></Process></korvid>";
}

void write_scripts(const World& world) {
  for (const auto& entry : std::filesystem::directory_iterator(world.directory.path())) {
    std::filesystem::remove(entry);
  }
  fwbase::test::write_file(world.directory.path("script.xml"), script_text());
  fwbase::test::write_file(world.directory.path("damaged.xml"), "<korvid><Process>");
}

// False when an operation of the round before has loaded something in between.
bool start(World& world) {
  require(ec::succeeded(world.script.init()), "init()");
  for (Function& function : functions) {
    require(world.script.expand_syntax(&function), "expand_syntax()");
  }
  const std::string path = world.directory.path("script.xml");
  return ec::succeeded(world.script.load_script(path.c_str()));
}

void restart(World& world) {
  std::unique_lock<std::shared_mutex> lock(world.rounds, std::defer_lock);
  const bool quiet = ends_in_quiet(world.round);
  if (quiet) {
    world.round_ends = true;
    lock.lock();
  }
  ++world.round;
  do {
    world.script.release();
    if (quiet) {
      write_scripts(world);
    }
  } while (!start(world));
  IFWBase::instance()->runlog()->type(world.round / 2 % 3 == 0 ? +IRunLog::ERROR : 0u);
  ++world.round;
  world.round_ends = false;
}

long restart_until(World& world, Clock::time_point end) {
  constexpr long kOperations = 400;  // in a round
  long rounds = 0;
  long next = kOperations;
  while (Clock::now() < end) {
    if (world.operations < next) {
      std::this_thread::yield();
      continue;
    }
    restart(world);
    next = world.operations + kOperations;
    ++rounds;
  }
  return rounds;
}

}  // namespace

int main(int argc, char** argv) {
  require(argc >= 2 && std::atoi(argv[1]) > 0, "usage: scripts_side_by_side SECONDS [SEED]");
  const auto end = Clock::now() + std::chrono::seconds(std::atoi(argv[1]));
  const unsigned int seed =
      argc > 2 ? static_cast<unsigned int>(std::atoi(argv[2])) : std::random_device()();
  std::printf("seed %u\n", seed);
  std::fflush(stdout);

  require(ec::succeeded(IFWBase::instance()->init()), "init()");
  require(ec::succeeded(IFWBase::instance()->runlog()->file("/dev/null")), "file()");
  World world;
  write_scripts(world);
  require(start(world), "load_script()");
  std::vector<std::unique_ptr<Worker>> workers;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    workers.push_back(std::make_unique<Worker>(world, i, seed + static_cast<unsigned int>(i)));
    threads.emplace_back(&Worker::run, workers.back().get());
  }
  const long rounds = restart_until(world, end);
  world.stop = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  IFWBase::instance()->release();
  std::printf("%ld operations, %ld calls, %ld loads, %ld rounds\n", world.operations.load(),
              world.calls.load(), world.loads.load(), rounds);
  require(rounds > 1 && world.loads > 0, "nothing was loaded, or the engine was never restarted");
  return 0;
}
