// Arithmetic on 32-bit integers, computed in 64 bits: a result that does not fit is a failure.
#include <limits>

#include "fwstd/functions.h"

namespace fwstd {

namespace {

ec::EC give_if_it_fits(const Call& call, std::int32_t a, std::int32_t b, std::int64_t result) {
  if (result < std::numeric_limits<std::int32_t>::min() ||
      result > std::numeric_limits<std::int32_t>::max()) {
    return call.fail(ec::SCRIPT_BAD_PARAM, "%d and %d give %lld, which does not fit in 32 bits", a,
                     b, static_cast<long long>(result));
  }
  return call.give(static_cast<std::int32_t>(result));
}

ec::EC add(const Call& call, std::int32_t a, std::int32_t b) {
  return give_if_it_fits(call, a, b, std::int64_t{a} + b);
}

ec::EC subtract(const Call& call, std::int32_t a, std::int32_t b) {
  return give_if_it_fits(call, a, b, std::int64_t{a} - b);
}

ec::EC multiply(const Call& call, std::int32_t a, std::int32_t b) {
  return give_if_it_fits(call, a, b, std::int64_t{a} * b);
}

ec::EC division_by_zero(const Call& call, std::int32_t a) {
  return call.fail(ec::SCRIPT_BAD_PARAM, "%d cannot be divided by zero", a);
}

ec::EC divide(const Call& call, std::int32_t a, std::int32_t b) {
  return b == 0 ? division_by_zero(call, a) : give_if_it_fits(call, a, b, std::int64_t{a} / b);
}

ec::EC modulo(const Call& call, std::int32_t a, std::int32_t b) {
  return b == 0 ? division_by_zero(call, a) : give_if_it_fits(call, a, b, std::int64_t{a} % b);
}

}  // namespace

std::span<Function> arithmetic_functions() {
  static Function functions[] = {
      {"add", "Adds two numbers.", {param("a"), param("b")}, add},
      {"subtract", "Subtracts a number from another.", {param("a"), param("b")}, subtract},
      {"multiply", "Multiplies two numbers.", {param("a"), param("b")}, multiply},
      {"divide", "Divides a number by another.", {param("a"), param("b")}, divide},
      {"modulo", "Gives what a division leaves.", {param("a"), param("b")}, modulo},
  };
  return functions;
}

}  // namespace fwstd
