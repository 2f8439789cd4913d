// Several threads over the whole public surface at once; meant for the thread sanitizer.
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/harness/temp_dir.h"

namespace {

using fwbase::IFWBase;
using fwbase::IRunLog;
using fwbase::IScript;

constexpr int kThreads = 8;

IFWBase* facade() { return IFWBase::instance(); }

class Stress : public testing::Test {
 protected:
  std::string path(const char* file) const { return m_directory.path(file); }

  std::string write_script() const {
    fwbase::test::write_file(path("stress.xml"), R"(<korvid>
      <template><Func name="add"><param tag="to" type="int"/><param tag="text" type="string"/></Func></template>
      <Process name=""><Data><var name="count" type="int" value="0"/></Data><Exec>
        <section name="run">
          <add><to>1</to><text>one</text><ret>sum</ret></add>
          <add><to><ref>sum</ref></to><text>two</text><ret>sum</ret></add>
          <add><to><ref>sum</ref></to><text>three</text><ret>sum</ret></add>
        </section></Exec></Process></korvid>)");
    return path("stress.xml");
  }

  static void start_log(const std::string& file, bool queued) {
    ASSERT_TRUE(ec::succeeded(facade()->init()));
    ASSERT_TRUE(ec::succeeded(facade()->runlog()->file(file.c_str())));
    facade()->runlog()->info(IRunLog::INFO_TIME | IRunLog::INFO_PID);
    facade()->runlog()->asynch(queued);
    facade()->runlog()->type(IRunLog::WARN | IRunLog::ERROR);
  }

  static void on_all_threads(const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }

 private:
  const fwbase::test::TempDir m_directory;
};

// Adds one to its argument and stores the sum where the script says, in the calling environment.
struct Add : IScript::ISyntax {
  IScript::VType types[2] = {IScript::VT_INT, IScript::VT_STRING};
  const char* name() override { return "add"; }
  IScript::VType* param_types() override { return types; }
  int param_count() override { return 2; }
  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    const std::int32_t sum = args[0].int_value + 1;
    return facade()->script()->set_value_env(ret, IScript::VT_INT, &sum, env);
  }
};

long count_records(const std::string& file) {
  std::istringstream in(fwbase::test::read_file(file));
  std::string line;
  long records = 0;
  while (std::getline(in, line)) {
    records += line.compare(0, 9, "[WARN ]: ") == 0 ? 1 : 0;
  }
  return records;
}

}  // namespace

TEST_F(Stress, EveryRunSeesItsOwnEnvironmentAndEveryRecordIsWrittenInEachRound) {
  constexpr int kRounds = 4;
  constexpr int kLaps = 40;
  const std::string script = write_script();
  const std::string log = path("stress.log");
  Add add;
  for (int round = 0; round < kRounds; ++round) {
    start_log(log, round % 2 == 1);
    ASSERT_TRUE(facade()->script()->expand_syntax(&add));
    ASSERT_TRUE(ec::succeeded(facade()->script()->load_script(script.c_str())));
    std::atomic<int> wrong{0};
    on_all_threads([&](int thread) {
      int env = 0;
      const std::string name = "value" + std::to_string(thread);
      for (std::int32_t lap = 0; lap < kLaps; ++lap) {
        std::int32_t sum = 0;
        std::int32_t own = -1;
        const bool right =
            ec::succeeded(facade()->script()->exec_scommad("run", &env)) &&
            ec::succeeded(facade()->script()->get_value_env("sum", IScript::VT_INT, &sum, &env)) &&
            sum == 4 &&
            ec::succeeded(facade()->script()->set_value(name.c_str(), IScript::VT_INT, &lap)) &&
            ec::succeeded(facade()->script()->get_value(name.c_str(), IScript::VT_INT, &own)) &&
            own == lap && ec::succeeded(facade()->script()->rm_value(name.c_str()));
        wrong += right ? 0 : 1;
        facade()->runlog()->write(IRunLog::WARN, "a lap is over", name.c_str());
      }
    });
    EXPECT_EQ(wrong, 0);
    facade()->release();
    EXPECT_EQ(count_records(log), (round + 1) * kThreads * kLaps);
  }
}

TEST_F(Stress, LogValuesAndEnvironmentsMayBeUsedWhileTheFacadeStopsAndStarts) {
  constexpr int kRounds = 10;
  const std::string log = path("restart.log");
  start_log(log, true);
  IRunLog* const runlog = facade()->runlog();
  IScript* const script = facade()->script();
  fwbase::IGlobalEnv* const env = facade()->global_env();
  std::atomic<bool> stop{false};
  std::thread restarter([&] {
    for (int round = 0; round < kRounds; ++round) {
      facade()->release();
      start_log(log, round % 2 == 0);
    }
    stop = true;
  });
  on_all_threads([&](int thread) {
    const std::string name = "name" + std::to_string(thread);
    while (!stop) {
      std::int32_t value = thread;
      runlog->write(IRunLog::WARN, "still here", "");
      script->set_value(name.c_str(), IScript::VT_INT, &value);
      script->get_value("nobody", IScript::VT_INT, &value);
      env->insert_str(name.c_str(), "x");
      env->mod_str("nobody", "x");
      fwbase::IGlobalEnv* keyed = nullptr;
      facade()->create_global_env(keyed, &value);
      facade()->destroy_global_env(&value);
    }
  });
  restarter.join();
  facade()->release();
  EXPECT_EQ(facade()->runlog(), nullptr);
}
