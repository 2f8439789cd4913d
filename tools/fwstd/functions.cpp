// Registers all general functions; they share fail().
#include "fwstd/functions.h"

#include "command_line/charset.h"
#include "command_line/text.h"

namespace fwstd {

ec::EC fail(const Call& call, ec::EC code, const std::string& reason) {
  // Quoted values must not end the record or begin another one.
  return call.fail(code, "%s", tools::gbk_of(tools::escaped(reason)).c_str());
}

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
