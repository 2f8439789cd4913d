// Checks: each fails, and so ends its section, when what it expects does not hold.
#include "fwstd/functions.h"

namespace fwstd {

namespace {

using fwbase::IScript;

// "load is " or, without a name for what is checked, "the value is ".
std::string subject(const char* what) {
  return std::string(*what != '\0' ? what : "the value") + " is ";
}

ec::EC expect_equal_int(const Call& call) {
  if (call.number(0) == call.number(1)) {
    return ec::SCRIPT_OK;
  }
  return call.fail(ec::SCRIPT_BAD_PARAM, subject(call.text(2)) + std::to_string(call.number(0)) +
                                             ", expected " + std::to_string(call.number(1)));
}

ec::EC expect_equal_string(const Call& call) {
  const std::string actual = call.text(0);
  if (actual == call.text(1)) {
    return ec::SCRIPT_OK;
  }
  return call.fail(ec::SCRIPT_BAD_PARAM,
                   subject(call.text(2)) + "'" + actual + "', expected '" + call.text(1) + "'");
}

ec::EC expect_at_most(const Call& call) {
  if (call.number(0) <= call.number(1)) {
    return ec::SCRIPT_OK;
  }
  return call.fail(ec::SCRIPT_BAD_PARAM, subject(call.text(2)) + std::to_string(call.number(0)) +
                                             ", expected at most " +
                                             std::to_string(call.number(1)));
}

}  // namespace

std::span<Function> check_functions() {
  static Function functions[] = {
      {"expect_equal_int",
       {IScript::VT_INT, IScript::VT_INT, IScript::VT_STRING},
       expect_equal_int},
      {"expect_equal_string",
       {IScript::VT_STRING, IScript::VT_STRING, IScript::VT_STRING},
       expect_equal_string},
      {"expect_at_most", {IScript::VT_INT, IScript::VT_INT, IScript::VT_STRING}, expect_at_most},
  };
  return functions;
}

}  // namespace fwstd
