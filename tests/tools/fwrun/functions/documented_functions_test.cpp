#include "tests/tools/fwrun/functions/documented_functions.h"

#include <fwbase/ifwbase.h>
#include <gtest/gtest.h>

#include <set>

#include "functions/functions.h"
#include "tests/tools/fwrun/functions/script_run.h"

using fwbase::IScript;

namespace functions::test {

TEST(DocumentedFunctions, AreTheOnesThatAreRegistered) {
  std::set<std::string> documented;
  for (const DocumentedFunction& function : documented_functions()) {
    EXPECT_TRUE(documented.insert(function.name).second) << function.name << " has two rows";
  }
  ASSERT_TRUE(ec::succeeded(fwbase::IFWBase::instance()->init()));
  std::set<std::string> registered;
  register_functions(*fwbase::IFWBase::instance()->script(), [&](IScript::ISyntax& function) {
    EXPECT_TRUE(registered.insert(function.name()).second) << function.name() << " comes twice";
    return &function;
  });
  fwbase::IFWBase::instance()->release();
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

}  // namespace functions::test
