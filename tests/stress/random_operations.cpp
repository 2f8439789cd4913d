// random_operations SECONDS [SEED]: eight threads call operations of all components at random,
// while another one stops and starts the library again and again. Meant for the thread sanitizer
// and for Helgrind; without them it checks that nothing crashes, hangs or loses its own variables.
#include <fwbase/fwbase.h>
#include <fwbase/module.h>
#include <utility/xml.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/harness/temp_dir.h"
#include "tests/modules/journal.h"

namespace {

using fwbase::IDataBlock;
using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;
using Clock = std::chrono::steady_clock;

constexpr int kThreads = 8;
constexpr const char* kLibrary = FWBASE_STRESS_MODULE;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "random_operations: %s\n", what);
  std::_Exit(1);
}

void require(bool good, const char* what) {
  if (!good) {
    fail(what);
  }
}

const char* const kScript = R"(<korvid>
  <template><Func name="note"><param tag="value" type="int"/><param tag="text" type="string"/></Func></template>
  <Process name="">
    <Data><var name="count" type="int" value="0"/><var name="label" type="string" value="x"/></Data>
    <Exec>
      <section name="one"><note><value>1</value><text>one</text><ret>last</ret></note></section>
      <section name="two">
        <note><value><ref>last</ref></value><text>two</text><ret>last</ret></note>
        <note><value>3</value><text><ref>label</ref></text></note>
      </section>
    </Exec>
  </Process>
</korvid>)";

// What the threads use. They stay in a round (InRound) where they keep something that its end takes
// away: pointers to keyed environments, a section that runs.
struct World {
  IFWBase& facade = *IFWBase::instance();
  fwbase::test::TempDir directory;
  std::string script = directory.path("script.xml");
  std::shared_mutex rounds;
  std::mutex library;  // the module that it gives
  std::atomic<bool> round_ends{false};
  std::atomic<bool> stop{false};
  std::atomic<long> operations{0};
};

// Keeps the round from ending, unless it is about to end already.
class InRound {
 public:
  explicit InRound(World& world) : m_lock(world.rounds, std::defer_lock) {
    if (!world.round_ends) {
      m_lock.lock();
    }
  }
  explicit operator bool() const { return m_lock.owns_lock(); }

 private:
  std::shared_lock<std::shared_mutex> m_lock;
};

struct Note : IScript::ISyntax {
  IScript::VType types[2] = {IScript::VT_INT, IScript::VT_STRING};
  const char* name() override { return "note"; }
  IScript::VType* param_types() override { return types; }
  int param_count() override { return 2; }
  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    FWBASE_LOG(WARN, "note %d %s", args[0].int_value, args[1].string_value);
    IScript* const script = IFWBase::instance()->script();
    if (ret == nullptr || script == nullptr) {
      return ec::SCRIPT_OK;
    }
    const std::int32_t next = args[0].int_value + 1;
    return script->set_value_env(ret, IScript::VT_INT, &next, env);
  }
};

// Registered again and again, never called.
struct Spare : Note {
  const char* name() override { return "spare"; }
};

Spare spare;

struct Object : IGlobalEnv::IObject {
  IObject* clone() const override { return new Object; }
  void release() override { delete this; }
};

struct Module : IMM::IBase {
  ec::EC init(void*) override {
    FWBASE_TRACE("");
    return ec::MM_OK;
  }
  void release() override { delete this; }
};

struct Product : IMM::IBase {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override {}
};

struct Factory : IMM::IFactory {
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override { delete this; }
  IMM::IBase* create() override { return new Product; }
  void destroy(IMM::IBase* module) override { delete module; }
};

IMM::IBase* create_module() { return new Module; }
IMM::IBase* create_factory() { return new Factory; }

// One thread's operations.
class Worker {
 public:
  Worker(World& world, int number, unsigned int seed)
      : m_world(world), m_name("name" + std::to_string(number)), m_random(seed) {}

  void run() {
    typedef void (Worker::*Operation)();
    const Operation operations[] = {
        &Worker::log,        &Worker::configure_log, &Worker::strings,  &Worker::objects,
        &Worker::keyed_env,  &Worker::modules,       &Worker::factory,  &Worker::identifiers,
        &Worker::data_block, &Worker::global_value,  &Worker::sections, &Worker::save,
        &Worker::library,    &Worker::install,       &Worker::load,     &Worker::document};
    while (!m_world.stop) {
      (this->*operations[pick(std::size(operations))])();
      ++m_world.operations;
    }
  }

 private:
  std::size_t pick(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
  }

  void log() {
    FWBASE_LOG(WARN, "%s %zu", m_name.c_str(), pick(1000));
    FWBASE_LOG(ERROR, "%s", std::string(pick(2000), 'x').c_str());
    FWBASE_TRACE(m_name.c_str());
  }

  void configure_log() {
    IRunLog* const log = m_world.facade.runlog();
    if (log == nullptr) {
      return;
    }
    log->type(static_cast<unsigned int>(pick(64)));
    log->info(static_cast<unsigned int>(pick(16)));
    log->asynch(pick(2) == 0);
    if (pick(8) == 0) {
      log->file(m_world.directory.path(m_name).c_str());
    }
  }

  void strings() {
    IGlobalEnv* const env = m_world.facade.global_env();
    if (env == nullptr) {
      return;
    }
    env->insert_str(m_name.c_str(), "a");
    env->ex_str(m_name.c_str(), "b", pick(2) == 0);
    if (const InRound round(m_world); round) {
      require(env->get_str(m_name.c_str()).size() != 1, "somebody else changed a string");
    }
    env->mod_str(m_name.c_str(), "abc");
    env->insert_addr(m_name.c_str(), this);
    env->get_addr(m_name.c_str());
    env->mod_addr(m_name.c_str(), nullptr);
    env->rm_addr(m_name.c_str());
    env->rm_str(m_name.c_str());
  }

  // A round's init() would forget an object without releasing it.
  void objects() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    IGlobalEnv* const env = m_world.facade.global_env();
    Object object;
    env->insert_obj("shared", &object);
    IGlobalEnv::IObject* copy = nullptr;
    if (ec::succeeded(env->get_obj("shared", &copy))) {
      copy->release();
    }
    env->mod_obj("shared", &object);
    env->rm_obj("shared");
  }

  void keyed_env() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    IGlobalEnv* env = nullptr;
    if (ec::succeeded(m_world.facade.create_global_env(env, this))) {
      env->insert_str("own", "text");
      require(m_world.facade.global_env(static_cast<void*>(this))->get_str("own") == "text",
              "a keyed environment lost its string");
    }
    m_world.facade.destroy_global_env(this);
  }

  void modules() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    IMM* const manager = m_world.facade.mm();
    IMM::IBase* module = nullptr;
    if (manager != nullptr &&
        ec::succeeded(manager->create_module(module, &create_module, nullptr))) {
      require(manager->is_valid(module), "a module is not valid");
      require(manager->get_module_factory(module) == nullptr, "a module has a factory");
      require(manager->destroy_module(module), "a module cannot be destroyed");
    }
  }

  void factory() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    IMM* const manager = m_world.facade.mm();
    IMM::IBase* factory = nullptr;
    if (manager == nullptr ||
        ec::failed(manager->create_module(factory, &create_factory, nullptr))) {
      return;
    }
    IMM::IBase* product = nullptr;
    require(ec::succeeded(
                manager->create_module(product, static_cast<IMM::IFactory*>(factory), nullptr)),
            "a factory makes nothing");
    require(manager->get_module_factory(product) == factory, "a product lost its factory");
    require(manager->destroy_module(product), "a product cannot be destroyed");
    require(manager->destroy_module(factory), "a factory cannot be destroyed");
  }

  // Each thread may get the same module from the library, one of them at a time.
  void library() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    const std::lock_guard<std::mutex> lock(m_world.library);
    IMM* const manager = m_world.facade.mm();
    Journal journal;
    IMM::IBase* module = nullptr;
    require(ec::succeeded(manager->create_module(module, kLibrary, "create_module", &journal)),
            "a library makes nothing");
    require(manager->destroy_module(module), "a library's module cannot be destroyed");
    require(journal == Journal{"init", "release"}, "a library's module was not used once");
  }

  // The components that are there already, as replacements and as built-in ones.
  void install() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    IFWBase& facade = m_world.facade;
    require(facade.runlog(facade.runlog()) != nullptr && facade.runlog(nullptr) != nullptr &&
                facade.global_env(facade.global_env()) != nullptr &&
                facade.global_env(static_cast<IGlobalEnv*>(nullptr)) != nullptr &&
                facade.mm(facade.mm()) != nullptr && facade.mm(nullptr) != nullptr &&
                facade.script(facade.script()) != nullptr && facade.script(nullptr) != nullptr &&
                facade.db_ft(facade.db_ft()) != nullptr && facade.db_ft(nullptr) != nullptr,
            "a component is not there");
  }

  void identifiers() {
    IMM* const manager = m_world.facade.mm();
    if (manager == nullptr) {
      return;
    }
    Module module;
    const unsigned int automatic = manager->auto_create_mid(&module);
    const unsigned int chosen = static_cast<unsigned int>(pick(65536));
    if (manager->create_mid(chosen, &module)) {
      manager->query_mid(chosen);
      manager->destroy_mid(chosen);
    }
    manager->query_mid(automatic);
    manager->destroy_mid(automatic);
  }

  void data_block() {
    fwbase::IDataBlockFT* const blocks = m_world.facade.db_ft();
    IDataBlock* block = nullptr;
    if (blocks != nullptr) {
      blocks->deallocate(blocks->allocate(100));
    }
    if (blocks != nullptr && ec::succeeded(blocks->create(block, 64))) {
      block->copy(m_name.data(), static_cast<unsigned int>(m_name.size()));
      require(std::string(block->rd_ptr(), block->data_len()) == m_name, "a block lost its data");
      block->release();
    }
  }

  void global_value() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    IScript* const script = m_world.facade.script();
    if (script == nullptr) {
      return;
    }
    const std::string text = m_name + std::to_string(pick(100));
    std::string read;
    require(ec::succeeded(script->set_value(m_name.c_str(), IScript::VT_STRING, &text)) &&
                ec::succeeded(script->get_value(m_name.c_str(), IScript::VT_STRING, &read)) &&
                read.compare(0, m_name.size(), m_name) == 0,
            "a variable lost its value");
    script->rm_value(m_name.c_str());
  }

  void sections() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    IScript* const script = m_world.facade.script();
    std::int32_t last = 0;
    if (script != nullptr && ec::succeeded(script->exec_scommad("one", this)) &&
        ec::succeeded(script->exec_scommad("two", this))) {
      require(
          ec::succeeded(script->get_value_env("last", IScript::VT_INT, &last, this)) && last == 3,
          "a run lost its result");
    }
  }

  // Another thread's load may bring the variables that were saved before.
  void load() {
    const InRound round(m_world);
    if (!round || pick(8) != 0) {
      return;
    }
    IScript* const script = m_world.facade.script();
    script->expand_syntax(&spare);
    script->load_script(m_world.script.c_str());
    require(ec::succeeded(script->execute(this)), "execute()");
  }

  // A document of its own.
  void document() {
    const InRound round(m_world);
    if (!round) {
      return;
    }
    utility::CXml xml;
    const std::string path = m_world.directory.path(m_name + ".xml");
    fwbase::test::write_file(path, kScript);
    require(xml.load(path) == utility::XEC_OK, "a document cannot be loaded");
    std::vector<utility::CElement> calls;
    require(xml.get_xpath_element("Process/Exec/section/note", calls) == utility::XEC_OK &&
                calls.size() == 3,
            "a document lost its elements");
    require(calls[0].set_attr("who", m_name) == utility::XEC_OK &&
                calls[1].insert_text("\xE4\xBD\xA0") == utility::XEC_OK &&
                xml.save() == utility::XEC_OK,
            "a document cannot be changed");
    xml.release();
  }

  void save() {
    IScript* const script = m_world.facade.script();
    if (script != nullptr && pick(8) == 0) {
      script->save_script();
    }
  }

  World& m_world;
  const std::string m_name;
  std::minstd_rand m_random;
};

// Until file() is called the log writes to standard output.
void start(World& world, Note& note) {
  require(ec::succeeded(world.facade.init()), "init()");
  IRunLog& log = *world.facade.runlog();
  require(ec::succeeded(log.file(world.directory.path("log").c_str())), "file()");
  log.asynch(true);
  log.type(IRunLog::WARN | IRunLog::ERROR | IRunLog::ALERT);
  fwbase::test::write_file(world.script, kScript);
  IScript& script = *world.facade.script();
  require(script.expand_syntax(&note), "expand_syntax()");
  require(ec::succeeded(script.load_script(world.script.c_str())), "load_script()");
}

// Rounds end while the workers log and look things up; those that must not be disturbed are waited
// for.
long restart_until(World& world, Note& note, Clock::time_point end) {
  long rounds = 0;
  long next = 200;
  while (Clock::now() < end) {
    if (world.operations < next) {
      std::this_thread::yield();
      continue;
    }
    world.round_ends = true;
    const std::unique_lock<std::shared_mutex> all_rounds(world.rounds);
    world.facade.release();
    start(world, note);
    world.round_ends = false;
    next = world.operations + 200;
    ++rounds;
  }
  return rounds;
}

}  // namespace

int main(int argc, char** argv) {
  require(argc >= 2 && std::atoi(argv[1]) > 0, "usage: random_operations SECONDS [SEED]");
  const auto end = Clock::now() + std::chrono::seconds(std::atoi(argv[1]));
  const unsigned int seed =
      argc > 2 ? static_cast<unsigned int>(std::atoi(argv[2])) : std::random_device()();
  std::printf("seed %u\n", seed);
  std::fflush(stdout);

  World world;
  Note note;
  start(world, note);
  std::vector<Worker> workers;
  for (int i = 0; i < kThreads; ++i) {
    workers.emplace_back(world, i, seed + static_cast<unsigned int>(i));
  }
  std::vector<std::thread> threads;
  for (Worker& worker : workers) {
    threads.emplace_back(&Worker::run, &worker);
  }
  const long rounds = restart_until(world, note, end);
  world.stop = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  world.facade.release();
  std::printf("%ld operations, %ld rounds\n", world.operations.load(), rounds);
  require(rounds > 0, "the library was never stopped and started");
  return 0;
}
