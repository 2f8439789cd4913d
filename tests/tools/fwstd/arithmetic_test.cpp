#include <gtest/gtest.h>

#include "tests/tools/fwstd/script_run.h"

namespace fwstd::test {
namespace {

std::string call(const std::string& function, const std::string& a, const std::string& b) {
  return "<" + function + "><a>" + a + "</a><b>" + b + "</b><ret>r</ret></" + function + ">";
}

}  // namespace

TEST(ArithmeticFunctions, Calculate) {
  const struct {
    const char* function;
    const char* a;
    const char* b;
    const char* result;
  } kCases[] = {
      {"add", "2", "3", "5"},
      {"add", "2147483646", "1", "2147483647"},
      {"add", "-2147483647", "-1", "-2147483648"},
      {"subtract", "2", "3", "-1"},
      {"subtract", "-2147483647", "1", "-2147483648"},
      {"multiply", "-6", "7", "-42"},
      {"multiply", "46340", "46340", "2147395600"},
      {"multiply", "-2147483648", "1", "-2147483648"},
      {"divide", "7", "2", "3"},
      {"divide", "-7", "2", "-3"},
      {"divide", "-2147483648", "1", "-2147483648"},
      {"modulo", "7", "2", "1"},
      {"modulo", "-7", "2", "-1"},
      {"modulo", "-2147483648", "-1", "0"},
  };
  for (const auto& one : kCases) {
    SCOPED_TRACE(call(one.function, one.a, one.b));
    ScriptRun run(call(one.function, one.a, one.b));
    EXPECT_EQ(run.result(), ec::SCRIPT_OK);
    EXPECT_EQ(run.value("r"), one.result);
  }
}

TEST(ArithmeticFunctions, FailWithoutAResultWhenItDoesNotFit) {
  const struct {
    const char* function;
    const char* a;
    const char* b;
    const char* error;
  } kCases[] = {
      {"add", "2147483647", "1",
       "add: 2147483647 and 1 give 2147483648, which does not fit in 32 bits"},
      {"add", "-2147483648", "-1",
       "add: -2147483648 and -1 give -2147483649, which does not fit in 32 bits"},
      {"subtract", "-2147483648", "1",
       "subtract: -2147483648 and 1 give -2147483649, which does not fit in 32 bits"},
      {"multiply", "46341", "46341",
       "multiply: 46341 and 46341 give 2147488281, which does not fit in 32 bits"},
      {"multiply", "-2147483648", "-2147483648",
       "multiply: -2147483648 and -2147483648 give 4611686018427387904, which does not fit in 32 "
       "bits"},
      {"divide", "-2147483648", "-1",
       "divide: -2147483648 and -1 give 2147483648, which does not fit in 32 bits"},
      {"divide", "7", "0", "divide: 7 cannot be divided by zero"},
      {"modulo", "7", "0", "modulo: 7 cannot be divided by zero"},
  };
  for (const auto& one : kCases) {
    SCOPED_TRACE(call(one.function, one.a, one.b));
    ScriptRun run(call(one.function, one.a, one.b));
    EXPECT_EQ(run.result(), ec::SCRIPT_BAD_PARAM);
    EXPECT_EQ(run.error(), one.error);
    EXPECT_EQ(run.value("r"), "missing");
  }
}

}  // namespace fwstd::test
