// Built without type information and exceptions, as some hosts are.
#include "tests/host/function_without_rtti.h"

#include <fwbase/function.h>

namespace fwbase::test {

IScript::ISyntax& function_without_rtti() {
  static Function function("bare", "Adds one.", {param("number")},
                           [](std::int32_t number) { return number + 1; });
  return function;
}

}  // namespace fwbase::test
