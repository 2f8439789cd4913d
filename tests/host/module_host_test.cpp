// What <fwbase/module.h> gives to authors of modules. Built with the macro DEBUG defined, as hosts
// may have it.
#include <fwbase/module.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#if DEBUG != 7
#error "the host's macro DEBUG has its value back"
#endif

using fwbase::IFWBase;
using fwbase::IMM;
using fwbase::IRunLog;

namespace {

struct Record {
  unsigned int level;
  std::string message;
  std::string location;
};

class Log : public IRunLog {
 public:
  explicit Log(unsigned int levels) {
    IFWBase::instance()->runlog(this);
    ms_type_sign = levels;
  }
  ~Log() override {
    ms_type_sign = 0;
    IFWBase::instance()->runlog(nullptr);
  }
  ec::EC init() override { return ec::LOG_OK; }
  void type(unsigned int) override {}
  void info(unsigned int) override {}
  ec::EC file(const char*) override { return ec::LOG_OK; }
  void asynch(bool) override {}
  void release() override {}
  void write(Type type, const char* message, const char* location) override {
    records.push_back({type, message, location != nullptr ? location : "(null)"});
  }

  std::vector<Record> records;
};

int evaluated = 0;

int evaluate() {
  ++evaluated;
  return evaluated;
}

const char* evaluate_text() {
  ++evaluated;
  return "text";
}

class Module : public IMM::IBase {
 public:
  ec::EC init(void*) override {
    FWBASE_TRACE("coming up");
    FWBASE_LOG(WARN, "%s has %d lines", "session 1", 12);
    return ec::MM_OK;
  }
  void release() override { delete this; }

  int log_from_a_const_member() const {
    FWBASE_TRACE("const");
    FWBASE_LOG(ERROR, "const");
    return __LINE__ - 1;
  }
};

class Other : public Module {};

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

void log_each_level() {
  FWBASE_LOG_AT(nullptr, TRACE, "a");
  FWBASE_LOG_AT(nullptr, DEBUG, "b");
  FWBASE_LOG_AT(nullptr, WARN, "c");
  FWBASE_LOG_AT(nullptr, ERROR, "d");
  FWBASE_LOG_AT(nullptr, ALERT, "e");
  FWBASE_LOG_AT(nullptr, DUMP, "f");
}

constexpr unsigned int kAll = 0x3F;
constexpr unsigned int kTrace = 1;
constexpr unsigned int kWarn = 4;
constexpr unsigned int kError = 8;

}  // namespace

FWBASE_MODULE(Module)
FWBASE_MODULE_AS(Other, create_other);
FWBASE_MODULE_AS(Factory, create_factory)

TEST(ModuleHeader, ExportsCreationFunctionsThatTheManagerTakes) {
  IFWBase* const facade = IFWBase::instance();
  ASSERT_TRUE(ec::succeeded(facade->init()));
  IMM::IBase* module = nullptr;
  EXPECT_EQ(facade->mm()->create_module(module, &create_module, nullptr), ec::MM_OK);
  IMM::IBase* factory = nullptr;
  EXPECT_EQ(facade->mm()->create_module(factory, &create_factory, nullptr), ec::MM_OK);
  IMM::IBase* made = nullptr;
  EXPECT_EQ(facade->mm()->create_module(made, static_cast<IMM::IFactory*>(factory), nullptr),
            ec::MM_OK);
  IMM::IBase* other = nullptr;
  EXPECT_EQ(facade->mm()->create_module(other, &create_other, nullptr), ec::MM_OK);
  EXPECT_NE(dynamic_cast<Other*>(other), nullptr);
  facade->release();
}

TEST(ModuleHeader, LogsARecordWithTheLocationOfTheCaller) {
  Log log(kError);
  Module module;
  const int line = module.log_from_a_const_member();
  ASSERT_EQ(log.records.size(), 1u);
  EXPECT_EQ(log.records[0].level, kError);
  EXPECT_EQ(log.records[0].message, "const");

  const std::string& location = log.records[0].location;
  const std::unique_ptr<char[]> object(IRunLog::FormatStr(
      "this(0x%x) ", static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(&module))));
  EXPECT_EQ(location.find(object.get()), 0u) << location;
  const std::string place = "log_from_a_const_member() const tests/host/module_host_test.cpp(" +
                            std::to_string(line) + ") CT:" __DATE__ " " __TIME__;
  ASSERT_GT(location.size(), place.size());
  EXPECT_EQ(location.substr(location.size() - place.size()), place);
}

TEST(ModuleHeader, TracesTheScopeAroundARecord) {
  Log log(kTrace | kWarn);
  Module().init(nullptr);
  ASSERT_EQ(log.records.size(), 3u);
  EXPECT_EQ(log.records[0].level, kTrace);
  EXPECT_EQ(log.records[0].message, "Call: coming up");
  EXPECT_EQ(log.records[1].level, kWarn);
  EXPECT_EQ(log.records[1].message, "session 1 has 12 lines");
  EXPECT_EQ(log.records[2].message, "Ret: coming up");
  EXPECT_EQ(log.records[0].location, log.records[2].location);
  EXPECT_NE(log.records[0].location.find("init(void*) tests/host/module_host_test.cpp "),
            std::string::npos);
}

TEST(ModuleHeader, LogsEachLevelWithTheMacroDebugDefined) {
  Log log(kAll);
  log_each_level();
  std::string seen;
  for (const Record& record : log.records) {
    seen += std::to_string(record.level) + record.message + " ";
  }
  EXPECT_EQ(seen, "1a 2b 4c 8d 16e 32f ");
}

TEST(ModuleHeader, EvaluatesNothingWhileTheLevelIsOff) {
  Log log(kAll & ~kError & ~kTrace);
  evaluated = 0;
  FWBASE_TRACE_AT(nullptr, evaluate_text());
  FWBASE_LOG_AT(nullptr, ERROR, "%d %s", evaluate(), evaluate_text());
  EXPECT_EQ(evaluated, 0);
  EXPECT_TRUE(log.records.empty());
  FWBASE_LOG_AT(nullptr, WARN, "%d", evaluate());
  EXPECT_EQ(evaluated, 1);
  ASSERT_EQ(log.records.size(), 1u);
  EXPECT_EQ(log.records[0].message, "1");
}

TEST(ModuleHeader, AScopeMayBeTracedTwiceAndWithinATracedOne) {
  Log log(kTrace);
  {
    FWBASE_TRACE_AT(nullptr, "1");
    FWBASE_TRACE_AT(nullptr, "2");
    { FWBASE_TRACE_AT(nullptr, "3"); }
  }
  std::string seen;
  for (const Record& record : log.records) {
    seen += record.message + ";";
  }
  EXPECT_EQ(seen, "Call: 1;Call: 2;Call: 3;Ret: 3;Ret: 2;Ret: 1;");
}

TEST(ModuleHeader, AnIfTakesARecordAsItsStatement) {
  Log log(kAll);
  bool other = false;
  if (log.records.empty())
    FWBASE_LOG_AT(nullptr, WARN, "first");
  else
    other = true;
  EXPECT_FALSE(other);
  EXPECT_EQ(log.records.size(), 1u);
}

TEST(ModuleHeader, CutsLongTexts) {
  Log log(kAll);
  FWBASE_LOG_AT(nullptr, WARN, "%s", std::string(2000, 'x').c_str());
  ASSERT_EQ(log.records.size(), 1u);
  EXPECT_EQ(log.records[0].message, std::string(1022, 'x'));
}

TEST(ModuleHeader, PassesTheBytesOfTheHostsEncodingUnchanged) {
  Log log(kAll);
  FWBASE_LOG_AT(nullptr, WARN, "\xC3\xA9 %s", "\xB2\xCE");
  ASSERT_EQ(log.records.size(), 1u);
  EXPECT_EQ(log.records[0].message, "\xC3\xA9 \xB2\xCE");
}

TEST(ModuleHeader, DropsARecordWithoutARunLog) {
  ASSERT_EQ(IFWBase::instance()->runlog(), nullptr);
  IRunLog::ms_type_sign = kAll;
  evaluated = 0;
  FWBASE_LOG_AT(nullptr, WARN, "%d", evaluate());
  IRunLog::ms_type_sign = 0;
  EXPECT_EQ(evaluated, 1);
}
