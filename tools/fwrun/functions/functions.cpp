// Registration of all general functions.
#include "functions/functions.h"

namespace functions {

void register_functions(
    fwbase::IScript& engine,
    const std::function<fwbase::IScript::ISyntax*(fwbase::IScript::ISyntax&)>& wrap) {
  for (const std::span<Function> group :
       {variable_functions(), arithmetic_functions(), text_functions(), check_functions(),
        input_functions(), output_functions()}) {
    for (Function& function : group) {
      engine.expand_syntax(wrap ? wrap(function) : &function);
    }
  }
}

}  // namespace functions
