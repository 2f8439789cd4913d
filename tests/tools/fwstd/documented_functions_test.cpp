#include "tests/tools/fwstd/documented_functions.h"

#include <gtest/gtest.h>

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
