// Threads of a host that are cancelled, or end themselves, inside the library.
#include <fcntl.h>
#include <fwbase/fwbase.h>
#include <fwbase/module.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <string>

#include "tests/harness/host_function.h"
#include "tests/harness/script_file.h"

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::IScript;
using fwbase::test::HostFunction;
using fwbase::test::read_file;
using fwbase::test::ScriptFile;
using fwbase::test::TempDir;

namespace {

constexpr const char* kScript =
    "<korvid><template><Func name='wait'/></template><Process name=''>"
    "<Data><var name='v' type='int' value='1'/></Data>"
    "<Exec><section name='all'><wait/></section></Exec></Process></korvid>";

typedef std::function<void()> Action;

void* run_action(void* action) {
  (*static_cast<Action*>(action))();
  return nullptr;
}

// A thread of its own. Says whether it was cancelled.
class Thread {
 public:
  explicit Thread(Action action) : m_action(std::move(action)) {
    EXPECT_EQ(::pthread_create(&m_thread, nullptr, &run_action, &m_action), 0);
  }
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  void cancel() { ::pthread_cancel(m_thread); }

  bool was_cancelled() {
    void* result = nullptr;
    ::pthread_join(m_thread, &result);
    return result == PTHREAD_CANCELED;
  }

 private:
  Action m_action;
  pthread_t m_thread;
};

// Runs the action in a thread that is to be cancelled already, and that allows it at the end.
void expect_finished(const Action& action) {
  bool finished = false;
  Thread thread([&] {
    ::pthread_cancel(::pthread_self());
    action();
    finished = true;
    ::pthread_testcancel();
  });
  EXPECT_TRUE(thread.was_cancelled());
  EXPECT_TRUE(finished);
}

// What host code does until its thread is cancelled.
class Wait {
 public:
  void operator()() {
    m_waits = true;
    m_waits.notify_one();
    while (true) {
      ::pause();
    }
  }
  void until_it_waits() { m_waits.wait(false); }

 private:
  std::atomic<bool> m_waits{false};
};

// A FIFO that somebody reads, but only what is asked for.
class FifoReader {
 public:
  explicit FifoReader(const std::string& path) {
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    m_descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
  }
  ~FifoReader() { ::close(m_descriptor); }
  FifoReader(const FifoReader&) = delete;
  FifoReader& operator=(const FifoReader&) = delete;

  // Takes all of its room. Gives what it holds.
  std::string fill() const {
    std::string all;
    const std::string page(4096, '.');
    while (::write(m_descriptor, page.data(), page.size()) > 0) {
      all += page;
    }
    return all;
  }

  void wait_for_bytes() const {
    pollfd ready = {m_descriptor, POLLIN, 0};
    EXPECT_EQ(::poll(&ready, 1, kPatience), 1);
  }

  // So many bytes, or fewer when there are no more for a long time.
  std::string read(std::size_t size) const {
    std::string all(size, '\0');
    std::size_t at = 0;
    pollfd ready = {m_descriptor, POLLIN, 0};
    while (at < size && ::poll(&ready, 1, kPatience) == 1) {
      at += static_cast<std::size_t>(::read(m_descriptor, all.data() + at, size - at));
    }
    all.resize(at);
    return all;
  }

 private:
  static constexpr int kPatience = 10'000;  // milliseconds

  int m_descriptor = -1;
};

class Cancellation : public testing::Test {
 protected:
  Cancellation() {
    EXPECT_TRUE(ec::succeeded(m_facade.init()));
    EXPECT_TRUE(ec::succeeded(log().file(log_path().c_str())));
    log().type(IRunLog::TRACE | IRunLog::DEBUG | IRunLog::WARN | IRunLog::ERROR);
  }
  ~Cancellation() override { m_facade.release(); }

  IRunLog& log() { return *m_facade.runlog(); }
  IScript& script() { return *m_facade.script(); }
  IGlobalEnv& env() { return *m_facade.global_env(); }
  IMM& modules() { return *m_facade.mm(); }
  std::string log_path() const { return m_directory.path("log"); }

  IFWBase& m_facade = *IFWBase::instance();
  const TempDir m_directory;
};

}  // namespace

TEST_F(Cancellation, WaitsUntilAScriptIsLoadedAndSaved) {
  const ScriptFile file(kScript);
  HostFunction wait("wait");
  ASSERT_TRUE(script().expand_syntax(&wait));
  expect_finished([&] {
    const std::int32_t value = 2;
    EXPECT_EQ(script().load_script(file.path()), ec::SCRIPT_OK);
    EXPECT_EQ(script().set_value("v", IScript::VT_INT, &value), ec::SCRIPT_OK);
    EXPECT_EQ(script().save_script(), ec::SCRIPT_OK);
  });
  EXPECT_NE(file.text().find("value=\"2\""), std::string::npos) << file.text();
}

TEST_F(Cancellation, WaitsUntilTheLibrarysRecordsAreWritten) {
  expect_finished([this] {
    const char* value = nullptr;
    EXPECT_EQ(env().get_str("missing", value), ec::GENV_STR_NOT_FOUND);
    FWBASE_TRACE_AT(nullptr, "scope");
  });
  const std::string text = read_file(log_path());
  EXPECT_NE(text.find("missing"), std::string::npos);
  EXPECT_NE(text.find("Ret: scope"), std::string::npos);
}

TEST_F(Cancellation, WaitsUntilTheFacadeIsReleasedAndInServiceAgain) {
  log().asynch(true);
  expect_finished([this] {
    m_facade.release();
    EXPECT_EQ(m_facade.init(), ec::FW_OK);
  });
  ASSERT_EQ(log().file(log_path().c_str()), ec::LOG_OK);
  log().write(IRunLog::WARN, "later", "here");
  EXPECT_NE(read_file(log_path()).find("later"), std::string::npos);
}

TEST_F(Cancellation, ComesToARecordOfTheHostBeforeItIsWritten) {
  Thread thread([this] {
    ::pthread_cancel(::pthread_self());
    log().write(IRunLog::WARN, "never written", "here");
  });
  EXPECT_TRUE(thread.was_cancelled());
  log().write(IRunLog::WARN, "later", "here");
  const std::string text = read_file(log_path());
  EXPECT_EQ(text.find("never written"), std::string::npos);
  EXPECT_NE(text.find("later"), std::string::npos);
}

TEST_F(Cancellation, EndsAFileThatWaitsForTheReaderOfAFifo) {
  const std::string fifo = m_directory.path("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  Thread thread([&] { log().file(fifo.c_str()); });
  thread.cancel();
  EXPECT_TRUE(thread.was_cancelled());
  log().write(IRunLog::WARN, "later", "here");
  EXPECT_NE(read_file(log_path()).find("later"), std::string::npos);
}

TEST_F(Cancellation, EndsARecordThatWaitsForTheReaderOfAFifo) {
  FifoReader reader(m_directory.path("fifo"));
  ASSERT_EQ(log().file(m_directory.path("fifo").c_str()), ec::LOG_OK);
  const std::string filling = reader.fill();
  Thread thread([this] { log().write(IRunLog::WARN, "never written", "here"); });
  thread.cancel();
  EXPECT_TRUE(thread.was_cancelled());
  EXPECT_EQ(reader.read(filling.size()), filling);
  log().write(IRunLog::WARN, "later", "here");
  const std::string later = "[WARN ]: here\r\n >later\n";
  EXPECT_EQ(reader.read(later.size()), later);
}

TEST_F(Cancellation, WaitsUntilARecordIsWholeOfWhichAFifoHasAPart) {
  FifoReader reader(m_directory.path("fifo"));
  ASSERT_EQ(log().file(m_directory.path("fifo").c_str()), ec::LOG_OK);
  const std::string message(1024 * 1024, 'm');
  Thread thread([&] { log().write(IRunLog::WARN, message.c_str(), "here"); });
  reader.wait_for_bytes();
  thread.cancel();
  const std::string record = "[WARN ]: here\r\n >" + message + "\n";
  EXPECT_TRUE(reader.read(record.size()) == record);
  thread.was_cancelled();
}

TEST_F(Cancellation, EndsAHostFunctionThatWaits) {
  const ScriptFile file(kScript);
  Wait wait;
  HostFunction function("wait", {}, [&](auto, auto, auto) -> ec::EC {
    wait();
    return ec::SCRIPT_OK;
  });
  ASSERT_TRUE(script().expand_syntax(&function));
  ASSERT_EQ(script().load_script(file.path()), ec::SCRIPT_OK);
  Thread thread([this] { script().exec_scommad("all", nullptr); });
  wait.until_it_waits();
  thread.cancel();
  EXPECT_TRUE(thread.was_cancelled());
  function.set_body({});
  EXPECT_EQ(script().exec_scommad("all", nullptr), ec::SCRIPT_OK);
}

namespace {

struct WaitingModule : IMM::IBase {
  ec::EC init(void* wait) override {
    if (wait != nullptr) {
      (*static_cast<Wait*>(wait))();
    }
    return ec::MM_OK;
  }
  void release() override {}
};

IMM::IBase* create_waiting_module() {
  static WaitingModule module;
  return &module;
}

}  // namespace

TEST_F(Cancellation, EndsAModulesInitThatWaitsAndTheModuleIsNotRemembered) {
  Wait wait;
  IMM::IBase* module = nullptr;
  Thread thread([&] { modules().create_module(module, &create_waiting_module, &wait); });
  wait.until_it_waits();
  thread.cancel();
  EXPECT_TRUE(thread.was_cancelled());
  EXPECT_FALSE(modules().is_valid(create_waiting_module()));
  EXPECT_EQ(modules().create_module(module, &create_waiting_module, nullptr), ec::MM_OK);
  EXPECT_TRUE(modules().destroy_module(module));
}

namespace {

struct CountedObject : IGlobalEnv::IObject {
  explicit CountedObject(int& releases, bool& ends_thread)
      : m_releases(releases), m_ends_thread(ends_thread) {}
  IObject* clone() const override { return new CountedObject(m_releases, m_ends_thread); }
  void release() override {
    ++m_releases;
    const bool ends_thread = m_ends_thread;
    m_ends_thread = false;
    delete this;
    if (ends_thread) {
      ::pthread_exit(nullptr);
    }
  }

 private:
  int& m_releases;
  bool& m_ends_thread;
};

}  // namespace

TEST_F(Cancellation, OfAReleaseLeavesTheOtherObjectsToTheNextOne) {
  int releases = 0;
  bool ends_thread = true;
  const CountedObject object(releases, ends_thread);
  for (const char* const name : {"one", "two", "three"}) {
    ASSERT_EQ(env().insert_obj(name, &object), ec::GENV_OK);
  }
  bool finished = false;
  Thread thread([&] {
    env().release();
    finished = true;
  });
  EXPECT_FALSE(thread.was_cancelled()) << "it ended itself";
  EXPECT_FALSE(finished);
  EXPECT_EQ(releases, 1);
  env().release();
  EXPECT_EQ(releases, 3);
}
