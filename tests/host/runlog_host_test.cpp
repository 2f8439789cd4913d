#include <fwbase/fwbase.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/harness/temp_dir.h"

using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IRunLog;

namespace {

class RunLogHost : public testing::Test {
 protected:
  ~RunLogHost() override { facade->release(); }

  std::string written() const { return fwbase::test::read_file(path); }

  IFWBase* const facade = IFWBase::instance();
  const fwbase::test::TempDir directory;
  const std::string path = directory.path("log");
};

}  // namespace

TEST_F(RunLogHost, AHostLogsThroughTheFacade) {
  ASSERT_TRUE(ec::succeeded(facade->init()));
  IRunLog* const log = facade->runlog();
  ASSERT_EQ(log->file(path.c_str()), ec::LOG_OK);
  log->type(IRunLog::ERROR | IRunLog::TRACE);
  log->asynch(true);
  log->write(IRunLog::ERROR, "message", "location");
  { const IRunLog::CTrace trace("text", 1, "f.cpp", "date", "time", "void f()", nullptr); }
  log->type(IRunLog::ERROR);
  facade->release();
  EXPECT_EQ(written(),
            "[ERROR]: location\r\n >message\n"
            "[TRACE]: this(0x0) void f() f.cpp 1 CT:date time\r\n >Call: text\n"
            "[TRACE]: this(0x0) void f() f.cpp 1 CT:date time\r\n >Ret: text\n"
            "[DEBUG]: \r\n >\nlog system release\n\n");
  EXPECT_EQ(IRunLog::ms_type_sign, 0u);
}

TEST_F(RunLogHost, MessagesOfTheLibraryAreGbk) {
  ASSERT_TRUE(ec::succeeded(facade->init()));
  ASSERT_EQ(facade->runlog()->file(path.c_str()), ec::LOG_OK);
  facade->runlog()->type(IRunLog::ERROR);
  IGlobalEnv* env = nullptr;
  int key = 0;
  ASSERT_EQ(facade->create_global_env(env, &key), ec::FW_OK);
  EXPECT_EQ(facade->create_global_env(env, &key), ec::FW_ENV_EXISTS);
  // 已存在与0x...相关的环境实例
  EXPECT_NE(written().find("\r\n >\xD2\xD1\xB4\xE6\xD4\xDA\xD3\xEB"
                           "0x"),
            std::string::npos);
  EXPECT_NE(written().find("\xCF\xE0\xB9\xD8\xB5\xC4\xBB\xB7\xBE\xB3\xCA\xB5\xC0\xFD\n"),
            std::string::npos);
}

// Components log while they hold their own locks, and the facade holds its lock while it releases
// environments: none of them may wait for another in a circle.
TEST_F(RunLogHost, LoggingComponentsAndAFacadeThatStartsAndStopsDoNotBlockEachOther) {
  constexpr int kRounds = 15;
  constexpr int kLookUpsPerRound = 20;
  std::atomic<bool> stop{false};
  std::atomic<int> look_ups{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        if (IGlobalEnv* const env = facade->global_env()) {
          const char* text = nullptr;
          env->get_str("missing", text);
          env->get_addr("missing");
          ++look_ups;
        }
        IRunLog* const log = facade->runlog();
        if (log != nullptr && (IRunLog::ms_type_sign & IRunLog::WARN) != 0) {
          log->write(IRunLog::WARN, "host", "location");
        }
      }
    });
  }
  for (int round = 0; round < kRounds; ++round) {
    ASSERT_TRUE(ec::succeeded(facade->init()));
    ASSERT_EQ(facade->runlog()->file(path.c_str()), ec::LOG_OK);
    facade->runlog()->type(~0u);
    facade->runlog()->asynch(round % 2 == 0);
    int keys[3];
    for (int& key : keys) {
      IGlobalEnv* env = nullptr;
      ASSERT_EQ(facade->create_global_env(env, &key), ec::FW_OK);
    }
    for (const int enough = look_ups + kLookUpsPerRound; look_ups < enough;) {
      std::this_thread::yield();
    }
    facade->destroy_global_env(&keys[0]);
    facade->release();
  }
  stop = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_GE(look_ups, kRounds * kLookUpsPerRound);
}
