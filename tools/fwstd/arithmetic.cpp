// Arithmetic on 32-bit integers. It is done in 64 bits, so that what does not fit is a failure.
#include <limits>

#include "fwstd/functions.h"

namespace fwstd {

namespace {

using fwbase::IScript;

ec::EC give_if_it_fits(const Call& call, std::int64_t result) {
  if (result < std::numeric_limits<std::int32_t>::min() ||
      result > std::numeric_limits<std::int32_t>::max()) {
    return call.fail(ec::SCRIPT_BAD_PARAM,
                     std::to_string(call.number(0)) + " and " + std::to_string(call.number(1)) +
                         " give " + std::to_string(result) + ", which does not fit in 32 bits");
  }
  return call.give(static_cast<std::int32_t>(result));
}

ec::EC add(const Call& call) {
  return give_if_it_fits(call, std::int64_t{call.number(0)} + call.number(1));
}

ec::EC subtract(const Call& call) {
  return give_if_it_fits(call, std::int64_t{call.number(0)} - call.number(1));
}

ec::EC multiply(const Call& call) {
  return give_if_it_fits(call, std::int64_t{call.number(0)} * call.number(1));
}

ec::EC division_by_zero(const Call& call) {
  return call.fail(ec::SCRIPT_BAD_PARAM,
                   std::to_string(call.number(0)) + " cannot be divided by zero");
}

ec::EC divide(const Call& call) {
  if (call.number(1) == 0) {
    return division_by_zero(call);
  }
  return give_if_it_fits(call, std::int64_t{call.number(0)} / call.number(1));
}

ec::EC modulo(const Call& call) {
  if (call.number(1) == 0) {
    return division_by_zero(call);
  }
  return give_if_it_fits(call, std::int64_t{call.number(0)} % call.number(1));
}

}  // namespace

std::span<Function> arithmetic_functions() {
  static Function functions[] = {
      {"add", {IScript::VT_INT, IScript::VT_INT}, add},
      {"subtract", {IScript::VT_INT, IScript::VT_INT}, subtract},
      {"multiply", {IScript::VT_INT, IScript::VT_INT}, multiply},
      {"divide", {IScript::VT_INT, IScript::VT_INT}, divide},
      {"modulo", {IScript::VT_INT, IScript::VT_INT}, modulo},
  };
  return functions;
}

}  // namespace fwstd
