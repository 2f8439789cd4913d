#include "command_line/module_argument.h"

#include <gtest/gtest.h>

namespace tools::test {

TEST(ModuleArgument, IsTakenApart) {
  const struct {
    const char* text;
    const char* path;
    const char* function;
    std::optional<std::string> argument;
  } kCases[] = {
      {"counter", "counter", "create_module", {}},
      {"./counter.so:make", "./counter.so", "make", {}},
      {"counter=a=b:c/d", "counter", "create_module", "a=b:c/d"},
      {"counter=", "counter", "create_module", ""},
      {"counter:make=x", "counter", "make", "x"},
      {"/a:b/counter", "/a:b/counter", "create_module", {}},
      {"/a:b/counter:make", "/a:b/counter", "make", {}},
      {"a:b:make", "a:b", "make", {}},
  };
  for (const auto& one : kCases) {
    SCOPED_TRACE(one.text);
    const std::optional<ModuleArgument> module = parse_module_argument(one.text);
    ASSERT_TRUE(module);
    EXPECT_EQ(module->path, one.path);
    EXPECT_EQ(module->function, one.function);
    EXPECT_EQ(module->argument, one.argument);
  }
}

TEST(ModuleArgument, NeedsAPathAndAFunctionBehindAColon) {
  for (const char* const text : {"", "=x", ":make", "counter:", "counter:=x"}) {
    EXPECT_FALSE(parse_module_argument(text)) << text;
  }
}

}  // namespace tools::test
