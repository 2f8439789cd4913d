// Files in corpus/faulty give exactly the findings of corpus/faulty/findings.txt; those in
// corpus/clean give none. All load as the check says.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <fwbase/check.h>
#include <fwbase/ifwbase.h>

#include "findings/finding_message.h"
#include "fwstd/functions.h"

namespace fwcheck::test {

namespace {

namespace fs = std::filesystem;
using fwbase::IFWBase;

/// As in findings.txt, behind the name of the file: "line column rule code", "-" for no code.
typedef std::vector<std::string> Lines;

Lines lines_of(const std::vector<fwbase::Finding>& findings) {
  Lines lines;
  for (const fwbase::Finding& finding : findings) {
    EXPECT_FALSE(finding.message.empty());
    EXPECT_EQ(finding.error, finding.code != 0) << finding.rule;
    lines.push_back(std::to_string(finding.line) + " " + std::to_string(finding.column) + " " +
                    finding.rule + " " + (finding.error ? ec::name(finding.code) : "-"));
  }
  return lines;
}

std::map<std::string, Lines> expected_findings() {
  std::map<std::string, Lines> expected;
  std::ifstream list(CORPUS "/faulty/findings.txt");
  for (std::string line; std::getline(list, line);) {
    const std::size_t blank = line.find(' ');
    expected[line.substr(0, blank)].push_back(line.substr(blank + 1));
  }
  return expected;
}

std::vector<fs::path> files_in(const char* directory) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    if (entry.path().extension() == ".xml") {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// With the functions of fwstd.
struct Corpus : testing::Test {
  Corpus() {
    IFWBase::instance()->init();
    fwstd::register_functions(*IFWBase::instance()->script());
  }
  ~Corpus() override { IFWBase::instance()->release(); }

  static ec::EC loaded(const fs::path& file) {
    IFWBase::instance()->release();
    IFWBase::instance()->init();
    fwstd::register_functions(*IFWBase::instance()->script());
    return IFWBase::instance()->script()->load_script(file.c_str());
  }
};

}  // namespace

TEST_F(Corpus, FaultyFilesGiveTheListedFindings) {
  const std::map<std::string, Lines> expected = expected_findings();
  const std::vector<fs::path> files = files_in(CORPUS "/faulty");
  EXPECT_GE(files.size(), 100U);
  EXPECT_EQ(files.size(), expected.size());
  for (const fs::path& file : files) {
    const auto listed = expected.find(file.filename().string());
    ASSERT_NE(listed, expected.end()) << file;
    Lines found = lines_of(fwbase::check_script(file.c_str()));
    EXPECT_EQ(found, listed->second) << file;
  }
}

// But those of the XML library.
TEST_F(Corpus, EachMessageIsThereInChinese) {
  for (const fs::path& file : files_in(CORPUS "/faulty")) {
    for (const fwbase::Finding& finding : fwbase::check_script(file.c_str())) {
      if (finding.rule != "malformed") {
        EXPECT_NE(tools::finding_message(tools::Language::kChinese, finding.message),
                  finding.message);
      }
    }
  }
}

TEST_F(Corpus, CleanFilesGiveNone) {
  const std::vector<fs::path> files = files_in(CORPUS "/clean");
  EXPECT_GE(files.size(), 40U);
  for (const fs::path& file : files) {
    EXPECT_EQ(lines_of(fwbase::check_script(file.c_str())), Lines()) << file;
    EXPECT_EQ(loaded(file), ec::SCRIPT_OK) << file;
  }
}

TEST_F(Corpus, LoadingGivesTheCodeOfOneOfTheErrorsAndSucceedsWithoutAny) {
  for (const fs::path& file : files_in(CORPUS "/faulty")) {
    std::vector<ec::EC> codes;
    for (const fwbase::Finding& finding : fwbase::check_script(file.c_str())) {
      if (finding.error) {
        codes.push_back(finding.code);
      }
    }
    const ec::EC result = loaded(file);
    EXPECT_EQ(ec::succeeded(result), codes.empty()) << file;
    if (!codes.empty()) {
      EXPECT_NE(std::find(codes.begin(), codes.end(), result), codes.end())
          << file << " " << ec::name(result);
    }
  }
}

}  // namespace fwcheck::test
