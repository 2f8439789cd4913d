// docs/modules.md: its module builds by its own commands and does what the page says, its excerpts
// are those of the examples, and its table of failures is true.
#include <fwbase/fwbase.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <sstream>

#include "tests/docs/markdown.h"
#include "tests/harness/matching.h"
#include "tests/harness/run_program.h"
#include "tests/harness/temp_dir.h"

namespace fs = std::filesystem;
using fwbase::IFWBase;
using fwbase::IGlobalEnv;
using fwbase::IMM;
using fwbase::IScript;
using fwbase::test::code_spans;
using fwbase::test::has_match;
using fwbase::test::MarkdownPage;
using fwbase::test::ProgramResult;
using fwbase::test::read_file;
using fwbase::test::run_program;
using fwbase::test::source_path;
using fwbase::test::TableRow;
using fwbase::test::TempDir;
using fwbase::test::write_file;

namespace {

const MarkdownPage& page() {
  static const MarkdownPage modules("docs/modules.md");
  return modules;
}

/// The languages of blocks that are files or parts of files.
const std::vector<std::string> kFileLanguages = {"cpp", "cmake", "xml"};

/// The name in a first line such as "// tally.cpp"; empty when there is none.
std::string file_name_of(const std::string& block) {
  std::istringstream first_line(block.substr(0, block.find('\n')));
  std::string comment;
  std::string name;
  first_line >> comment >> name;
  const bool is_comment = comment == "//" || comment == "#" || comment == "<!--";
  return is_comment && fs::path(name).has_extension() ? name : "";
}

std::map<std::string, std::string> whole_files() {
  std::map<std::string, std::string> files;
  for (const std::string& language : kFileLanguages) {
    for (const std::string& block : page().blocks(language)) {
      if (const std::string name = file_name_of(block); !name.empty()) {
        files[name] = block;
      }
    }
  }
  return files;
}

std::vector<std::string> excerpts() {
  std::vector<std::string> found;
  for (const std::string& language : kFileLanguages) {
    for (const std::string& block : page().blocks(language)) {
      if (file_name_of(block).empty()) {
        found.push_back(block);
      }
    }
  }
  return found;
}

bool is_part_of_an_example(const std::string& excerpt) {
  for (const auto& entry : fs::recursive_directory_iterator(source_path("examples"))) {
    const bool is_page = entry.path().extension() == ".md";
    if (entry.is_regular_file() && !is_page &&
        read_file(entry.path().string()).find(excerpt) != std::string::npos) {
      return true;
    }
  }
  return false;
}

/// Runs a block of sh in a directory, with the installed library and commands at hand.
ProgramResult run_block(const std::string& block, const std::string& directory) {
  ::setenv("CMAKE_GENERATOR", "Ninja", 1);
  ::setenv("CMAKE_PREFIX_PATH", FWBASE_PREFIX, 1);
  ::setenv("CXX", FWBASE_CXX, 1);
  ::setenv("CXXFLAGS", FWBASE_CXX_FLAGS, 1);
  const char* const path = ::getenv("PATH");
  ::setenv("PATH", (std::string(FWBASE_PREFIX "/bin:") + (path ? path : "/usr/bin:/bin")).c_str(),
           1);
  return run_program({"/bin/sh", "-euc", "cd \"$0\"\n" + block, directory});
}

/// The project of the page, after all of its commands.
class Project {
 public:
  Project() {
    for (const auto& [name, text] : whole_files()) {
      write_file(m_directory.path(name), text);
    }
    for (const std::string& block : page().blocks("sh")) {
      const ProgramResult result = run_block(block, m_directory.path());
      EXPECT_EQ(result.status, 0) << block << result.out << result.err;
      m_output += result.out;
    }
  }

  std::string path(const std::string& name) const { return m_directory.path(name); }
  const std::string& output() const { return m_output; }

 private:
  TempDir m_directory;
  std::string m_output;
};

constexpr ec::EC kInitFails = 0x00abcdef;  // as in tests/modules/init_fails.cpp

std::string library(const std::string& name) { return FWBASE_TEST_MODULES "/" + name + ".so"; }

struct Product : IMM::IBase {
  ec::EC init(void*) override { return kInitFails; }
  void release() override {}
};

/// Lends one product, as often as it is given back.
struct Factory : IMM::IFactory {
  explicit Factory(bool gives_null) : m_gives_null(gives_null) {}
  ec::EC init(void*) override { return ec::MM_OK; }
  void release() override {}
  IMM::IBase* create() override { return m_gives_null ? nullptr : &m_product; }
  void destroy(IMM::IBase* module) override { taken_back = module; }

  IMM::IBase* product() { return &m_product; }

  IMM::IBase* taken_back = nullptr;

 private:
  const bool m_gives_null;
  Product m_product;
};

Factory factory(false);
Factory empty_factory(true);
IMM::IBase* give_factory() { return &factory; }
IMM::IBase* give_empty_factory() { return &empty_factory; }

ec::EC create(IMM::IBase*& out, const std::string& name, const char* function = "create_module") {
  return IFWBase::instance()->mm()->create_module(out, library(name).c_str(), function, nullptr);
}

ec::EC create_by(IMM::IBase*& out, IMM::IFactory* by) {
  return IFWBase::instance()->mm()->create_module(out, by, nullptr);
}

/// The manager takes modules of a factory that it created.
ec::EC create_by_valid(IMM::IBase*& out, Factory& by, IMM::CreateFun give) {
  IMM* const mm = IFWBase::instance()->mm();
  IMM::IBase* known = nullptr;
  EXPECT_EQ(mm->create_module(known, give, nullptr), ec::MM_OK);
  return create_by(out, &by);
}

/// What to do, by the first cells of the table of failures.
const std::map<std::string, std::function<ec::EC(IMM::IBase*&)>>& mistakes() {
  static const std::map<std::string, std::function<ec::EC(IMM::IBase*&)>> all = {
      {"the path is null",
       [](IMM::IBase*& out) {
         return IFWBase::instance()->mm()->create_module(out, nullptr, "create_module", nullptr);
       }},
      {"the function's name is null",
       [](IMM::IBase*& out) { return create(out, "init_fails", nullptr); }},
      {"the library cannot be opened", [](IMM::IBase*& out) { return create(out, "missing"); }},
      {"the library has no such function",
       [](IMM::IBase*& out) { return create(out, "no_entry"); }},
      {"the function handed in is null",
       [](IMM::IBase*& out) {
         return IFWBase::instance()->mm()->create_module(out, static_cast<IMM::CreateFun>(nullptr),
                                                         nullptr);
       }},
      {"the function gives null", [](IMM::IBase*& out) { return create(out, "gives_null"); }},
      {"`init()` fails", [](IMM::IBase*& out) { return create(out, "init_fails"); }},
      {"the factory is null", [](IMM::IBase*& out) { return create_by(out, nullptr); }},
      {"the factory is not a valid module",
       [](IMM::IBase*& out) { return create_by(out, &factory); }},
      {"the factory gives null",
       [](IMM::IBase*& out) { return create_by_valid(out, empty_factory, &give_empty_factory); }},
      {"`init()` of a factory's module fails",
       [](IMM::IBase*& out) { return create_by_valid(out, factory, &give_factory); }},
  };
  return all;
}

ec::EC code_of(const std::string& cell) {
  const std::string code = code_spans(cell).at(0);
  return code == "MM_BAD_PARAM"        ? ec::MM_BAD_PARAM
         : code == "MM_BAD_FACTORY"    ? ec::MM_BAD_FACTORY
         : code == "MM_FACTORY_FAILED" ? ec::MM_FACTORY_FAILED
         : code == "MM_INIT_FAILED"    ? ec::MM_INIT_FAILED
         : code == "init()"            ? kInitFails
                            : throw std::runtime_error("no result of this test: " + cell);
}

void expect_row(const TableRow& row) {
  SCOPED_TRACE(row.at(0));
  Product before;
  IMM::IBase* out = &before;
  EXPECT_EQ(mistakes().at(row.at(0))(out), code_of(row.at(1)));
  if (row.at(2) == "as before") {
    EXPECT_EQ(out, &before);
  } else if (row.at(2) == "null") {
    EXPECT_EQ(out, nullptr);
  } else if (row.at(2) == "the module, for the caller to release") {
    ASSERT_NE(out, &before);
    ASSERT_NE(out, nullptr);
    out->release();
  } else {
    EXPECT_EQ(row.at(2), "a module that the factory took back");
    EXPECT_EQ(out, factory.product());
    EXPECT_EQ(factory.taken_back, out);
  }
}

struct Facade : testing::Test {
  Facade() { EXPECT_EQ(fw->init(), ec::FW_OK); }
  ~Facade() override { fw->release(); }

  IFWBase* const fw = IFWBase::instance();
};

}  // namespace

TEST(ModulesGuide, EveryBlockIsAWholeFileAnExcerptOrCommands) {
  std::size_t blocks = page().blocks("sh").size() + whole_files().size() + excerpts().size();
  std::size_t fences = 0;
  for (std::size_t at = page().text().find("\n```"); at != std::string::npos;
       at = page().text().find("\n```", at + 1)) {
    ++fences;
  }
  EXPECT_GE(blocks, 8u);
  EXPECT_EQ(fences, 2 * blocks);
}

TEST(ModulesGuide, ExcerptsAreFromTheExamples) {
  ASSERT_GE(excerpts().size(), 4u);
  for (const std::string& excerpt : excerpts()) {
    EXPECT_TRUE(is_part_of_an_example(excerpt)) << excerpt;
  }
}

using ModulesGuideProject = Facade;

TEST_F(ModulesGuideProject, BuildsAModuleThatDoesWhatThePageSays) {
  const Project project;
  IMM::IBase* module = nullptr;
  char start[] = "10";
  ASSERT_EQ(
      fw->mm()->create_module(module, project.path("build/tally").c_str(), "create_module", start),
      ec::MM_OK);

  EXPECT_TRUE(has_match(project.output(), "\n +sum: int = 42\n")) << project.output();
  ASSERT_EQ(fw->script()->load_script(project.path("tally.xml").c_str()), ec::SCRIPT_OK);
  EXPECT_EQ(fw->script()->exec_scommad("add", nullptr), ec::SCRIPT_OK);
  std::int32_t sum = 0;
  EXPECT_EQ(fw->script()->get_value_env("sum", IScript::VT_INT, &sum, nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(sum, 42);

  IGlobalEnv::IObject* about = nullptr;
  ASSERT_EQ(fw->global_env()->get_obj("tally", &about), ec::GENV_OK);
  EXPECT_STREQ(about->describe(), "tally, version 1");
  about->release();

  // Destroyed, it leaves no object; its function goes on as long as the library is loaded.
  EXPECT_TRUE(fw->mm()->destroy_module(module));
  EXPECT_EQ(fw->global_env()->get_obj("tally", &about), ec::GENV_OBJ_NOT_FOUND);
  EXPECT_EQ(fw->script()->exec_scommad("add", nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(fw->script()->get_value_env("sum", IScript::VT_INT, &sum, nullptr), ec::SCRIPT_OK);
  EXPECT_EQ(sum, 74);
}

TEST_F(ModulesGuideProject, BuildsAModuleWhoseInitRefusesWhatIsNoNumber) {
  const Project project;
  IMM::IBase* module = nullptr;
  char start[] = "ten";
  EXPECT_EQ(
      fw->mm()->create_module(module, project.path("build/tally").c_str(), "create_module", start),
      (64u << 18) | 1u);
  ASSERT_NE(module, nullptr);
  module->release();
}

using ModulesGuideFailures = Facade;

TEST_F(ModulesGuideFailures, HaveTheResultsOfTheTable) {
  const std::vector<TableRow> rows = page().section("Failures").table();
  EXPECT_EQ(rows.size(), mistakes().size());
  for (const TableRow& row : rows) {
    expect_row(row);
  }
}

using ModulesGuideLoading = Facade;

namespace {

int answer_of(const std::string& name) {
  IMM::IBase* module = nullptr;
  int answer = 0;
  const std::string path = FWBASE_GUIDE_MODULES "/" + name;
  EXPECT_EQ(
      IFWBase::instance()->mm()->create_module(module, path.c_str(), "create_module", &answer),
      ec::MM_OK);
  return answer;
}

}  // namespace

// Each library of this test has a function answer() that gives its number.
TEST_F(ModulesGuideLoading, TheFirstLibraryProvidesAnExportedFunctionToAll) {
  EXPECT_EQ(answer_of("exported_1"), 1);
  EXPECT_EQ(answer_of("exported_2"), 1);
  EXPECT_EQ(answer_of("hidden_3"), 3);
}
