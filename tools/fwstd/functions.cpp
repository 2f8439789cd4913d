// Registration of all general functions.
#include "fwstd/functions.h"

namespace fwstd {

std::vector<Function*> all_functions() {
  std::vector<Function*> all;
  for (const std::span<Function> subject :
       {variable_functions(), arithmetic_functions(), text_functions(), check_functions(),
        input_functions(), output_functions()}) {
    for (Function& function : subject) {
      all.push_back(&function);
    }
  }
  return all;
}

Function* register_functions(fwbase::IScript& engine) {
  for (Function* const function : all_functions()) {
    if (!engine.expand_syntax(function)) {
      return function;
    }
  }
  return nullptr;
}

}  // namespace fwstd
