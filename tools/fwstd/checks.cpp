// Checks. Each fails, and so ends its section, when the expectation does not hold.
#include "fwstd/functions.h"

namespace fwstd {

namespace {

// "load is " or, without a name for what is checked, "the value is ".
std::string subject(const std::string& what) {
  return (what.empty() ? "the value" : what) + " is ";
}

ec::EC expect_equal_int(const Call& call, std::int32_t actual, std::int32_t expected,
                        const std::string& what) {
  if (actual == expected) {
    return ec::SCRIPT_OK;
  }
  return fail(call, ec::SCRIPT_BAD_PARAM,
              subject(what) + std::to_string(actual) + ", expected " + std::to_string(expected));
}

ec::EC expect_equal_string(const Call& call, const std::string& actual, const std::string& expected,
                           const std::string& what) {
  if (actual == expected) {
    return ec::SCRIPT_OK;
  }
  return fail(call, ec::SCRIPT_BAD_PARAM,
              subject(what) + "'" + actual + "', expected '" + expected + "'");
}

ec::EC expect_at_most(const Call& call, std::int32_t actual, std::int32_t limit,
                      const std::string& what) {
  if (actual <= limit) {
    return ec::SCRIPT_OK;
  }
  return fail(
      call, ec::SCRIPT_BAD_PARAM,
      subject(what) + std::to_string(actual) + ", expected at most " + std::to_string(limit));
}

Param what() { return param("what", "what the record calls the value").or_else(""); }

}  // namespace

std::span<Function> check_functions() {
  static Function functions[] = {
      {"expect_equal_int",
       "Fails unless two numbers are equal.",
       {param("actual"), param("expected"), what()},
       expect_equal_int},
      {"expect_equal_string",
       "Fails unless two texts are equal.",
       {param("actual"), param("expected"), what()},
       expect_equal_string},
      {"expect_at_most",
       "Fails when a number is more than a limit.",
       {param("actual"), param("limit"), what()},
       expect_at_most},
  };
  return functions;
}

}  // namespace fwstd
