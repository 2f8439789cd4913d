// The module library as a host creates it.
#include <dlfcn.h>
#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>

#include "tests/harness/log_capture.h"
#include "tests/harness/script_file.h"

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::IScript;

namespace fwstd::test {
namespace {

constexpr char kScript[] = R"(<korvid>
  <template>
    <Func name="add"><param tag="a" type="int"/><param tag="b" type="int"/></Func>
  </template>
  <Process name="">
    <Exec><section name="run"><add><a>2</a><b>3</b><ret>sum</ret></add></section></Exec>
  </Process>
</korvid>)";

bool is_loaded() {
  void* const library = dlopen(FWSTD_LIBRARY, RTLD_LAZY | RTLD_NOLOAD);
  if (library != nullptr) {
    dlclose(library);
  }
  return library != nullptr;
}

// The library in service while the object lives.
struct Service {
  Service() : started(IFWBase::instance()->init()) {}
  ~Service() { IFWBase::instance()->release(); }

  ec::EC create(void* argument = nullptr) {
    return IFWBase::instance()->mm()->create_module(module, FWSTD_LIBRARY, "create_module",
                                                    argument);
  }

  ec::EC started;
  IMM::IBase* module = nullptr;
};

// An engine that takes `room` functions and no more.
struct SmallEngine : IScript {
  explicit SmallEngine(int functions) : room(functions) { IFWBase::instance()->script(this); }
  ~SmallEngine() override { IFWBase::instance()->script(nullptr); }

  bool expand_syntax(ISyntax*) override { return room-- > 0; }
  ec::EC init() override { return ec::SCRIPT_OK; }
  void release() override {}
  ec::EC load_script(const char*) override { return ec::SCRIPT_OK; }
  ec::EC save_script() override { return ec::SCRIPT_OK; }
  ec::EC execute(void*) override { return ec::SCRIPT_OK; }
  ec::EC exec_scommad(const char*, void*) override { return ec::SCRIPT_OK; }
  ec::EC get_value(const char*, VType, void*) const override { return ec::SCRIPT_OK; }
  ec::EC set_value(const char*, VType, const void*) override { return ec::SCRIPT_OK; }
  ec::EC rm_value(const char*) override { return ec::SCRIPT_OK; }
  ec::EC get_value_env(const char*, VType, void*, void*) const override { return ec::SCRIPT_OK; }
  ec::EC set_value_env(const char*, VType, const void*, void*) override { return ec::SCRIPT_OK; }

  int room;
};

}  // namespace

TEST(FwstdModule, MakesItsFunctionsKnownToScripts) {
  Service service;
  ASSERT_TRUE(ec::succeeded(service.started));
  ASSERT_EQ(service.create(), ec::MM_OK);
  const fwbase::test::ScriptFile file(kScript);
  IScript& engine = *IFWBase::instance()->script();
  ASSERT_EQ(engine.load_script(file.path()), ec::SCRIPT_OK);
  EXPECT_EQ(engine.exec_scommad("run", nullptr), ec::SCRIPT_OK);
  std::int32_t sum = 0;
  EXPECT_EQ(engine.get_value_env("sum", IScript::VT_INT, &sum, nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(sum, 5);
}

TEST(FwstdModule, IgnoresItsArgument) {
  Service service;
  char argument[] = "anything";
  EXPECT_EQ(service.create(argument), ec::MM_OK);
}

TEST(FwstdModule, IsGoneAfterTheRelease) {
  {
    Service service;
    ASSERT_EQ(service.create(), ec::MM_OK);
    EXPECT_TRUE(is_loaded());
  }
  EXPECT_FALSE(is_loaded());
  Service again;
  EXPECT_EQ(again.create(), ec::MM_OK);
}

TEST(FwstdModule, FailsWhenTheEngineRefusesAFunction) {
  Service service;
  SmallEngine engine(3);
  fwbase::test::LogCapture log;
  EXPECT_EQ(service.create(), ec::SCRIPT_NO_RULE);
  ASSERT_NE(service.module, nullptr);
  service.module->release();
  const std::vector<fwbase::test::Record> records = log.records();
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.front().level, fwbase::IRunLog::ERROR);
  EXPECT_EQ(records.front().message, "fwstd: the script engine refuses the function 'copy_string'");
}

}  // namespace fwstd::test
