#include "tests/tools/fwstd/documented_functions.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "fwstd/functions.h"
#include "tests/tools/fwstd/script_run.h"

namespace fwstd::test {

TEST(DocumentedFunctions, AreTheOnesThatAreRegistered) {
  std::set<std::string> documented;
  for (const DocumentedFunction& function : documented_functions()) {
    EXPECT_TRUE(documented.insert(function.name).second) << function.name << " has two rows";
  }
  std::set<std::string> registered;
  for (Function* const function : all_functions()) {
    EXPECT_TRUE(registered.insert(function->name()).second) << function->name() << " comes twice";
  }
  EXPECT_EQ(documented, registered);
}

TEST(DocumentedFunctions, TellToolsWhatIsDocumented) {
  std::map<std::string, Function*> registered;
  for (Function* const function : all_functions()) {
    registered[function->name()] = function;
  }
  for (const DocumentedFunction& documented : documented_functions()) {
    SCOPED_TRACE(documented.name);
    Function& function = *registered.at(documented.name);
    EXPECT_EQ(function.description(), documented.does);
    ASSERT_EQ(function.param_count(), static_cast<int>(documented.parameters.size()));
    for (int i = 0; i < function.param_count(); ++i) {
      const DocumentedParameter& parameter = documented.parameters[static_cast<std::size_t>(i)];
      EXPECT_EQ(function.param_tag(i), parameter.tag);
      EXPECT_EQ(function.param_types()[i] == fwbase::IScript::VT_INT ? "int" : "string",
                parameter.type);
      const char* const left_out = function.param_default(i);
      EXPECT_EQ(left_out != nullptr, parameter.default_value.has_value());
      EXPECT_EQ(left_out != nullptr ? left_out : "", parameter.default_value.value_or(""));
    }
  }
}

// Loading compares a declaration with the function where a section calls it.
TEST(DocumentedFunctions, LoadAsTheyAreDocumented) {
  for (const DocumentedFunction& function : documented_functions()) {
    std::string call = "<" + function.name + ">";
    for (const DocumentedParameter& parameter : function.parameters) {
      call += "<" + parameter.tag + ">1</" + parameter.tag + ">";
    }
    call += "</" + function.name + ">";
    EXPECT_EQ(load_result(call), ec::SCRIPT_OK) << call;
  }
}

}  // namespace fwstd::test
