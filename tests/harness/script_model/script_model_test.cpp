// The engine does as its model does, on generated scripts and at the limits of documents; the fuzz
// target script_load goes on where these end.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "tests/harness/script_model/comparison.h"

namespace fwbase::script_model {
namespace {

constexpr unsigned int kScenarios = 2000;
constexpr unsigned int kParts = 4;

// The scenario of that number: the same in every run.
std::vector<std::uint8_t> scenario(unsigned int number) {
  std::mt19937 random(number);
  std::vector<std::uint8_t> bytes(64 + random() % 1024);
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
  bytes[0] = number % 4 == 0 ? bytes[0] : 0;  // how the host behaves: often as it should
  bytes[1] = number % 8 == 0 ? bytes[1] : 0;  // the code page: often that of the process
  bytes[2] = 0;                               // generated files
  return bytes;
}

std::string difference(Comparison& comparison, const std::vector<std::uint8_t>& bytes) {
  return comparison.difference(bytes.data(), bytes.size());
}

class ScriptModel : public testing::TestWithParam<unsigned int> {};

TEST_P(ScriptModel, DoesWhatTheEngineDoes) {
  Comparison comparison;
  for (unsigned int number = GetParam(); number < kScenarios; number += kParts) {
    ASSERT_EQ(difference(comparison, scenario(number)), "") << "scenario " << number;
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ScriptModel, testing::Range(0U, kParts));

// So that a comparison means something: the files reach all that a load can give while there is
// memory.
TEST(ScriptGenerator, ReachesEveryResultOfLoading) {
  Comparison comparison;
  std::set<ec::EC> reached;
  unsigned int loaded = 0;
  unsigned int loads = 0;
  for (unsigned int number = 0; number < kScenarios / kParts; ++number) {
    difference(comparison, scenario(number));
    for (const ec::EC code : comparison.loads()) {
      reached.insert(code);
      loaded += ec::succeeded(code) ? 1 : 0;
      ++loads;
    }
  }
  EXPECT_EQ(reached, (std::set<ec::EC>{
                         ec::SCRIPT_OK, ec::SCRIPT_E_LOAD, ec::SCRIPT_E_ROOT_NAME,
                         ec::SCRIPT_NO_PROCESS, ec::SCRIPT_E_ATTR, ec::SCRIPT_E_FORMAT,
                         ec::SCRIPT_FUNC_EXISTS, ec::SCRIPT_E_SECTION_DUP, ec::SCRIPT_E_PARAM_TAG,
                         ec::SCRIPT_BAD_PARAM, ec::SCRIPT_NO_RULE, ec::SCRIPT_PARAM_COUNT,
                         ec::SCRIPT_PARAM_TYPE, ec::SCRIPT_E_PARAMS_CHILD, ec::SCRIPT_EMPTY_NAME}));
  EXPECT_GT(loaded, loads / 3) << "most files are almost right";
}

// --- Limits: the largest script of a kind that the model loads, and the next one ---

std::string repeated(unsigned int count, const std::string& text) {
  std::string result;
  for (unsigned int i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

std::string numbered(unsigned int count, const std::string& before, const std::string& behind) {
  std::string result;
  for (unsigned int i = 0; i < count; ++i) {
    result += before + std::to_string(i) + behind;
  }
  return result;
}

// A script that has other elements beside its process, and perhaps declarations.
std::string script_with(const std::string& elements, const std::string& declarations = "") {
  const std::string subset = declarations.empty() ? "" : "<!DOCTYPE korvid [" + declarations + "]>";
  return subset + "<korvid><Process name=''><Data><var name='x' type='int' value='1'/></Data>" +
         "</Process>" + elements + "</korvid>";
}

// Elements with so many names, of which few are their own and the rest those of attributes.
std::string names(unsigned int count) {
  std::string result;
  for (unsigned int i = 0; i < count; ++i) {
    const bool is_element = i % 500 == 0;
    result += is_element && i > 0 ? "/>" : "";
    result += (is_element ? "<n" : " n") + std::to_string(i) + (is_element ? "" : "=''");
  }
  return result + "/>";
}

struct Kind {
  const char* name;
  unsigned int most;  // that a script may have
  std::string (*script)(unsigned int count);
};

const Kind kKinds[] = {
    {"NestedElements", 999,
     [](unsigned int count) {
       return script_with(repeated(count, "<d>") + repeated(count, "</d>"));
     }},
    {"ElementsNestedInAnEntity", 996,
     [](unsigned int count) {
       return script_with("<d><d>&e;</d></d>",
                          "<!ENTITY e '" + repeated(count, "<d>") + repeated(count, "</d>") + "'>");
     }},
    {"Declarations", 5000,
     [](unsigned int count) { return script_with("", numbered(count, "<!ENTITY e", " ''>")); }},
    {"Names", 49'993, [](unsigned int count) { return script_with(names(count)); }},
    {"ReferencesInTexts", 22'074,
     [](unsigned int count) { return script_with(repeated(count, "&e;"), "<!ENTITY e ''>"); }},
    {"ReferencesInAttributes", 22'074,
     [](unsigned int count) {
       return script_with("<d a='" + repeated(count, "&e;") + "'/>", "<!ENTITY e ''>");
     }},
    {"CharactersOfExpansions", 8205,
     [](unsigned int count) {
       return script_with(repeated(count, "&e;"), "<!ENTITY e '" + std::string(1000, 'c') + "'>");
     }},
    {"DeclaredAttributesOfElements", 8429,
     [](unsigned int count) {
       return script_with(repeated(count, "<d/>"),
                          "<!ATTLIST d " + numbered(1000, "a", " CDATA #IMPLIED ") + ">");
     }},
};

class ScriptLimit : public testing::TestWithParam<Kind> {};

TEST_P(ScriptLimit, IsThatOfTheModel) {
  const unsigned int most = GetParam().most;
  Comparison comparison;
  for (const unsigned int count : {most, most + 1}) {
    const std::string text = GetParam().script(count);
    std::vector<std::uint8_t> bytes{0, 0, 1, 0};  // a given file, and nothing else done with it
    bytes.insert(bytes.end(), text.begin(), text.end());
    EXPECT_EQ(difference(comparison, bytes).substr(0, 2000), "") << count;
    EXPECT_EQ(comparison.loads().front(), count == most ? ec::SCRIPT_OK : ec::SCRIPT_E_LOAD);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, ScriptLimit, testing::ValuesIn(kKinds),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

}  // namespace
}  // namespace fwbase::script_model
