// Shows the engine's catalogue in the form of --list.
#include "functions.h"

#include <fwbase/check.h>

#include "command_line/text.h"
#include "listing.h"
#include "modules/catalogue.h"

namespace fwrun {

std::string functions_text() {
  std::string text;
  for (const tools::CatalogueFunction& described : tools::functions_of(fwbase::catalogue())) {
    Function function{described.name, {}};
    for (const tools::CatalogueParameter& parameter : described.parameters) {
      function.parameters.push_back({parameter.tag, parameter.type(), parameter.default_value});
    }
    std::string line = function_line(function);
    if (!described.description.empty()) {
      line.insert(line.size() - 1, "  " + tools::escaped(described.description));
    }
    text += line;
  }
  return text;
}

}  // namespace fwrun
