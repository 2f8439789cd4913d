// The part of the module manager that opens libraries, with the libraries in tests/modules.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "fwbase/module/module_manage.h"
#include "tests/fwbase/module/host_modules.h"
#include "tests/harness/failing_new.h"
#include "tests/harness/in_threads.h"
#include "tests/harness/log_capture.h"
#include "tests/harness/temp_dir.h"
#include "tests/modules/journal.h"

using fwbase::CModuleManage;
using fwbase::IMM;
using fwbase::IRunLog;
using fwbase::test::FailingNew;
using fwbase::test::hex;
using fwbase::test::in_threads;
using fwbase::test::LogCapture;
using fwbase::test::Record;
using fwbase::test::record;

namespace {

std::string library(const std::string& name) { return FWBASE_TEST_MODULES "/" + name + ".so"; }

bool is_loaded(const std::string& path) {
  void* const handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle != nullptr) {
    dlclose(handle);
  }
  return handle != nullptr;
}

struct ModuleLibraries : testing::Test {
  ModuleLibraries() { mm.init(); }
  ~ModuleLibraries() override { mm.release(); }

  ec::EC create(const std::string& path, const char* fname = "create_module") {
    return mm.create_module(out, path.c_str(), fname, &journal);
  }

  /// What is logged when the function is not there, for this reason.
  static std::vector<Record> no_function(const std::string& path, const std::string& fname,
                                         const std::string& reason) {
    return {record(IRunLog::ERROR, "获取导出函数失败: error=" + reason),
            record(IRunLog::ERROR, "创建模块的导出函数为NULL. path=" + path + ", fname=" + fname)};
  }

  CModuleManage mm;
  Journal journal;
  IMM::IBase* out = nullptr;
  LogCapture log;
};

/// A directory for libraries that come and go.
struct ModuleLibrariesDirectory : ModuleLibraries {
  ~ModuleLibrariesDirectory() override { mm.release(); }

  const fwbase::test::TempDir directory;
};

constexpr const char* kNoFile = ": cannot open shared object file: No such file or directory";

}  // namespace

TEST_F(ModuleLibraries, ALibrarysModuleIsCreatedAndReleased) {
  const std::string path = library("makes_modules");
  EXPECT_EQ(create(path), ec::MM_OK);
  EXPECT_TRUE(mm.is_valid(out));
  EXPECT_TRUE(mm.destroy_module(out));
  EXPECT_EQ(journal, (Journal{"init", "release"}));
  EXPECT_EQ(log.records(), (std::vector{record(IRunLog::DEBUG, "对模块进行初始化: path=" + path +
                                                                   ", fname=create_module"),
                                        record(IRunLog::DEBUG, "这是一个直接创建的模块"),
                                        record(IRunLog::DEBUG, "销毁的是一个直接创建的模块实例")}));
}

TEST_F(ModuleLibraries, ALibraryIsOpenedOncePerPathAndUnloadedByRelease) {
  const std::string path = library("makes_modules");
  ASSERT_FALSE(is_loaded(path));
  create(path);
  mm.destroy_module(out);
  EXPECT_TRUE(is_loaded(path)) << "a library outlives its modules";
  log.clear();
  EXPECT_EQ(create(path), ec::MM_OK);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::DEBUG, "此模块在早前已加载,直接口使用: path=" + path +
                                                    ",funname=create_module"),
                         record(IRunLog::DEBUG,
                                "对模块进行初始化: path=" + path + ", fname=create_module")}));
  mm.release();
  EXPECT_EQ(journal, (Journal{"init", "release", "init", "release"}));
  EXPECT_FALSE(is_loaded(path));
}

TEST_F(ModuleLibraries, AModuleThatTheFunctionGaveBeforeIsNotInitialisedAgain) {
  const std::string path = library("same_module");
  EXPECT_EQ(create(path), ec::MM_OK);
  IMM::IBase* const first = out;
  log.clear();
  EXPECT_EQ(create(path), ec::MM_OK);
  EXPECT_EQ(out, first);
  EXPECT_EQ(create(path, "create_module_again"), ec::MM_OK);
  EXPECT_EQ(out, first);
  EXPECT_EQ(journal, Journal{"init"});
  const auto opened = [&](const std::string& fname) {
    return record(IRunLog::DEBUG,
                  "此模块在早前已加载,直接口使用: path=" + path + ",funname=" + fname);
  };
  const auto initialised = [&](const std::string& fname) {
    return record(IRunLog::DEBUG,
                  "此模块已在早前初始化,直接使用. path=" + path + ", fname=" + fname);
  };
  EXPECT_EQ(log.records(),
            (std::vector{opened("create_module"), initialised("create_module"),
                         opened("create_module_again"), initialised("create_module_again")}));
  mm.release();
  EXPECT_EQ(journal, (Journal{"init", "release"}));
}

TEST_F(ModuleLibraries, NullPathAndNameAreRefused) {
  const char* const text = "text";
  EXPECT_EQ(mm.create_module(out, nullptr, text, nullptr), ec::MM_BAD_PARAM);
  EXPECT_EQ(mm.create_module(out, text, nullptr, nullptr), ec::MM_BAD_PARAM);
  EXPECT_EQ(
      log.records(),
      (std::vector{record(IRunLog::ERROR, "输入参数错误:path=0x0,funname=0x" + hex(text)),
                   record(IRunLog::ERROR, "输入参数错误:path=0x" + hex(text) + ",funname=0x0")}));
}

TEST_F(ModuleLibraries, AMissingLibraryIsReportedWithTheLoadersReasonEachTime) {
  const std::string path = "/nowhere/missing.so";
  const std::vector<Record> failed = no_function(path, "create_module", path + kNoFile);
  EXPECT_EQ(create(path), ec::MM_BAD_PARAM);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(log.records(), failed);
  log.clear();
  EXPECT_EQ(create(path), ec::MM_BAD_PARAM);
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::DEBUG, "此模块在早前已加载,直接口使用: path=" + path +
                                                    ",funname=create_module"),
                         failed[0], failed[1]}));
}

TEST_F(ModuleLibraries, ALibraryThatCannotBeLinkedIsReportedWithWhatItLacks) {
  const std::string path = library("lacks_symbol");
  EXPECT_EQ(create(path), ec::MM_BAD_PARAM);
  ASSERT_EQ(log.records().size(), 2u);
  const std::string reason = path + ": undefined symbol: ";
  EXPECT_TRUE(
      log.records()[0].message.starts_with(fwbase::test::gbk("获取导出函数失败: error=") + reason))
      << log.records()[0].message;
  EXPECT_NE(log.records()[0].message.find("variable_that_nobody_has"), std::string::npos);
}

TEST_F(ModuleLibraries, ANameWithoutSuffixIsTriedWithIt) {
  EXPECT_EQ(create(FWBASE_TEST_MODULES "/makes_modules"), ec::MM_OK);
  EXPECT_EQ(create("fwbase_missing"), ec::MM_BAD_PARAM);
  const std::string reasons = std::string("libfwbase_missing.so") + kNoFile +
                              "; fwbase_missing.so" + kNoFile + "; fwbase_missing" + kNoFile;
  const std::vector<Record> all = log.records();
  EXPECT_EQ(std::vector(all.end() - 2, all.end()),
            no_function("fwbase_missing", "create_module", reasons));
}

TEST_F(ModuleLibrariesDirectory, AFileThatIsNoLibraryIsReported) {
  const std::string path = directory.path("text.so");
  std::FILE* const file = std::fopen(path.c_str(), "w");
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  EXPECT_EQ(create(path), ec::MM_BAD_PARAM);
  EXPECT_EQ(log.records(), no_function(path, "create_module", path + ": file too short"));
}

TEST_F(ModuleLibraries, AFunctionThatIsNotInTheLibraryIsReported) {
  const std::string path = library("no_entry");
  EXPECT_EQ(create(path), ec::MM_BAD_PARAM);
  EXPECT_EQ(log.records(),
            no_function(path, "create_module", path + ": undefined symbol: create_module"));
  log.clear();
  EXPECT_EQ(create(path, "other"), ec::MM_BAD_PARAM);
  EXPECT_EQ(log.records().at(1),
            no_function(path, "other", path + ": undefined symbol: other").at(0));
}

TEST_F(ModuleLibrariesDirectory, AFailedLibraryIsNotTriedAgainBeforeRelease) {
  const std::string path = directory.path("late.so");
  EXPECT_EQ(create(path), ec::MM_BAD_PARAM);
  std::filesystem::copy_file(library("makes_modules"), path);
  EXPECT_EQ(create(path), ec::MM_BAD_PARAM);
  EXPECT_EQ(log.records().at(3), no_function(path, "create_module", path + kNoFile).at(0));
  EXPECT_FALSE(is_loaded(path));
  mm.release();
  EXPECT_EQ(create(path), ec::MM_OK);
}

TEST_F(ModuleLibraries, AFunctionThatGivesNullFails) {
  const std::string path = library("gives_null");
  out = reinterpret_cast<IMM::IBase*>(&journal);
  EXPECT_EQ(create(path), ec::MM_INIT_FAILED);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "无法通过模块导出函数返回模块的实例. path=" + path +
                                                   ", fname=create_module")});
}

TEST_F(ModuleLibraries, AFailedInitIsPassedOnAndTheModuleLeftToTheCaller) {
  const std::string path = library("init_fails");
  EXPECT_EQ(create(path), 0x00abcdefu);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(log.records(), std::vector{record(IRunLog::ERROR, "模块初始化失败. path=" + path +
                                                                  ", fname=create_module")});
  EXPECT_FALSE(mm.is_valid(out));
  out->release();
}

TEST_F(ModuleLibraries, AnExceptionOfALibraryReachesTheCaller) {
  try {
    create(library("init_throws"));
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "init of a library's module");
  }
  ASSERT_NE(out, nullptr);
  EXPECT_FALSE(mm.is_valid(out));
  out->release();
}

TEST_F(ModuleLibraries, InitAndTheDestructorLeaveLibrariesLoaded) {
  const std::string path = library("same_module");
  {
    CModuleManage other;
    other.init();
    ASSERT_EQ(other.create_module(out, path.c_str(), "create_module", &journal), ec::MM_OK);
  }
  EXPECT_TRUE(is_loaded(path));
  ASSERT_EQ(create(path), ec::MM_OK);
  mm.init();
  mm.release();
  EXPECT_TRUE(is_loaded(path));
  EXPECT_EQ(journal, (Journal{"init", "init"})) << "nothing was released";
}

TEST_F(ModuleLibraries, LibrariesStayLoadedWhileAnExceptionLeavesRelease) {
  const std::string path = library("makes_modules");
  ASSERT_EQ(create(path), ec::MM_OK);
  struct Throwing : IMM::IBase {
    ec::EC init(void*) override { return ec::MM_OK; }
    void release() override { throw std::runtime_error("release"); }
  };
  static Throwing throwing;
  ASSERT_EQ(mm.create_module(
                out, +[]() -> IMM::IBase* { return &throwing; }, nullptr),
            ec::MM_OK);
  EXPECT_THROW(mm.release(), std::runtime_error);
  EXPECT_TRUE(is_loaded(path));
  mm.release();
  EXPECT_FALSE(is_loaded(path));
  EXPECT_EQ(journal, (Journal{"init", "release"}));
}

TEST_F(ModuleLibraries, WithoutMemoryForTheLibraryObjectNothingIsKept) {
  const std::string path = library("makes_modules");
  {
    const FailingNew memory(1);
    EXPECT_EQ(create(path), ec::MM_LOAD_FAILED);
    EXPECT_TRUE(memory.has_failed());
  }
  EXPECT_EQ(log.records(),
            std::vector{record(IRunLog::ERROR, "此模块的库文件加载失败: path=" + path)});
  EXPECT_EQ(create(path), ec::MM_OK);
}

TEST_F(ModuleLibraries, WhateverAllocationFailsTheCreationFailsAndCanBeRepeated) {
  const std::string path = library("same_module");
  journal.reserve(1000);
  log.type(0);
  int failures = 0;
  for (int n = 1;; ++n) {
    {
      const FailingNew memory(n, FailingNew::ANY);
      const ec::EC result = create(path);
      if (!memory.has_failed()) {
        EXPECT_EQ(result, ec::MM_OK);
        break;
      }
      ++failures;
      EXPECT_TRUE(result == ec::MM_LOAD_FAILED || result == ec::MM_INIT_FAILED) << n;
      EXPECT_TRUE(journal.empty() || journal.back() == "release") << n;
    }
    EXPECT_EQ(create(path), ec::MM_OK) << n;
    mm.release();
  }
  EXPECT_GT(failures, 2);
}

TEST_F(ModuleLibraries, WhateverAllocationFailsAMissingLibraryIsReported) {
  log.type(0);
  for (int n = 1;; ++n) {
    const FailingNew memory(n, FailingNew::ANY);
    const ec::EC result = create("fwbase_missing");
    EXPECT_EQ(result, memory.has_failed() ? ec::MM_LOAD_FAILED : ec::MM_BAD_PARAM) << n;
    mm.release();
    if (!memory.has_failed()) {
      break;
    }
  }
}

TEST_F(ModuleLibraries, EmptyAndVeryLongPathsAndNamesFail) {
  const std::string very_long(100'000, 'x');
  EXPECT_EQ(create(""), ec::MM_BAD_PARAM);
  EXPECT_EQ(create(very_long), ec::MM_BAD_PARAM);
  EXPECT_EQ(create("/" + very_long + ".so"), ec::MM_BAD_PARAM);
  EXPECT_EQ(create(library("makes_modules"), ""), ec::MM_BAD_PARAM);
  EXPECT_EQ(create(library("makes_modules"), very_long.c_str()), ec::MM_BAD_PARAM);
}

TEST_F(ModuleLibraries, CreationByPathIsTracedOnce) {
  log.type(IRunLog::TRACE);
  create(library("makes_modules"));
  EXPECT_EQ(log.records(),
            (std::vector{record(IRunLog::TRACE, "Call: "), record(IRunLog::TRACE, "Ret: ")}));
}

TEST_F(ModuleLibraries, EightThreadsCreateFromLibraries) {
  const std::string path = library("makes_modules");
  log.type(0);
  in_threads(8, [&](int) {
    Journal own;
    for (int i = 0; i < 50; ++i) {
      IMM::IBase* module = nullptr;
      EXPECT_EQ(mm.create_module(module, path.c_str(), "create_module", &own), ec::MM_OK);
      EXPECT_TRUE(mm.destroy_module(module));
    }
    EXPECT_EQ(own.size(), 100u);
  });
}
