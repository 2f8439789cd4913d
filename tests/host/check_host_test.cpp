// <fwbase/check.h> as a host uses it.
#include <fwbase/check.h>
#include <fwbase/function.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/host/function_without_rtti.h"

namespace {

using fwbase::Function;
using fwbase::IFWBase;
using fwbase::IScript;
using fwbase::param;

struct Catalogue : testing::Test {
  Catalogue() { IFWBase::instance()->init(); }
  ~Catalogue() override { IFWBase::instance()->release(); }

  static IScript& engine() { return *IFWBase::instance()->script(); }
};

/// A function that tells nothing but its signature.
struct Plain : IScript::ISyntax {
  IScript::VType types[2] = {IScript::VT_STRING, IScript::VT_INT};
  const char* name() override { return "plain"; }
  IScript::VType* param_types() override { return types; }
  int param_count() override { return 2; }
  ec::EC call(const IScript::VValue*, void*, const char*) override { return ec::SCRIPT_OK; }
};

/// One whose origin is not the program that it lies in.
struct Told : Function {
  Told() : Function("told", "", {}, [] {}) {}
  const char* origin() const override { return "elsewhere"; }
};

/// The catalogue without the path of this program.
std::string catalogue_without_paths() {
  std::string text = fwbase::catalogue();
  const std::string program = testing::internal::GetArgvs()[0];
  for (std::size_t at = 0; (at = text.find(program, at)) != std::string::npos;) {
    text.replace(at, program.size(), "PROGRAM");
  }
  return text;
}

}  // namespace

TEST_F(Catalogue, IsEmptyWithoutFunctions) {
  EXPECT_EQ(fwbase::catalogue(), "{\n  \"functions\": []\n}\n");
}

TEST_F(Catalogue, TellsWhatFunctionsTellOfThemselves) {
  Function greet("greet", "Greets \"somebody\".",
                 {param("who", "whom to greet"), param("times").or_else(1)},
                 [](const char*, std::int32_t) {});
  ASSERT_TRUE(engine().expand_syntax(&greet));
  EXPECT_EQ(catalogue_without_paths(),
            R"({
  "functions": [
    {
      "name": "greet",
      "module": "PROGRAM",
      "description": "Greets \"somebody\".",
      "parameters": [
        {
          "tag": "who",
          "type": "string",
          "must": true,
          "description": "whom to greet"
        },
        {
          "tag": "times",
          "type": "int",
          "must": false,
          "default": "1",
          "description": ""
        }
      ]
    }
  ]
}
)");
}

TEST_F(Catalogue, NumbersTheTagsOfFunctionsThatTellNone) {
  Plain plain;
  ASSERT_TRUE(engine().expand_syntax(&plain));
  EXPECT_EQ(catalogue_without_paths(),
            R"({
  "functions": [
    {
      "name": "plain",
      "module": "PROGRAM",
      "description": "",
      "parameters": [
        {
          "tag": "arg1",
          "type": "string",
          "must": true,
          "description": ""
        },
        {
          "tag": "arg2",
          "type": "int",
          "must": true,
          "description": ""
        }
      ]
    }
  ]
}
)");
}

TEST_F(Catalogue, IsInTheOrderOfTheNamesAndHasTheLatestOfEach) {
  Function b("b", "old", {}, [] {});
  Function c("c", "", {}, [] {});
  Function a("a", "", {}, [] {});
  Function b2("b", "new", {param("x")}, [](std::int32_t) {});
  for (Function* const function : {&b, &c, &a, &b2}) {
    ASSERT_TRUE(engine().expand_syntax(function));
  }
  const std::string text = fwbase::catalogue();
  const std::size_t at_a = text.find("\"name\": \"a\"");
  const std::size_t at_b = text.find("\"name\": \"b\"");
  const std::size_t at_c = text.find("\"name\": \"c\"");
  EXPECT_LT(at_a, at_b);
  EXPECT_LT(at_b, at_c);
  EXPECT_NE(at_c, std::string::npos);
  EXPECT_EQ(text.find("\"old\""), std::string::npos);
  EXPECT_NE(text.find("\"new\""), std::string::npos);
  EXPECT_NE(text.find("\"x\""), std::string::npos);
}

TEST_F(Catalogue, HasTheOriginThatAFunctionTells) {
  Told told;
  ASSERT_TRUE(engine().expand_syntax(&told));
  EXPECT_NE(fwbase::catalogue().find("\"module\": \"elsewhere\""), std::string::npos);
}

TEST_F(Catalogue, ReplacesBytesThatAreNoText) {
  Function odd("odd", "\xFF", {}, [] {});
  ASSERT_TRUE(engine().expand_syntax(&odd));
  EXPECT_NE(fwbase::catalogue().find("\"description\": \"\xEF\xBF\xBD\""), std::string::npos);
}

TEST_F(Catalogue, ForgetsTheFunctionsThatInitForgets) {
  Function gone("gone", "", {}, [] {});
  ASSERT_TRUE(engine().expand_syntax(&gone));
  ASSERT_EQ(engine().init(), ec::SCRIPT_OK);
  EXPECT_EQ(fwbase::catalogue(), "{\n  \"functions\": []\n}\n");
}

// The sanitizer of undefined behaviour asks objects for their type information.
#ifndef __SANITIZE_ADDRESS__
TEST_F(Catalogue, HasFunctionsWithoutTypeInformation) {
  ASSERT_TRUE(engine().expand_syntax(&fwbase::test::function_without_rtti()));
  const std::string text = fwbase::catalogue();
  EXPECT_NE(text.find("\"name\": \"bare\""), std::string::npos);
  EXPECT_NE(text.find("\"tag\": \"arg1\""), std::string::npos);
  EXPECT_NE(text.find("libfunction_without_rtti.so"), std::string::npos);
}
#endif
