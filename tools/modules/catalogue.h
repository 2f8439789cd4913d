// The functions that scripts may call, as a catalogue describes them.
#ifndef TOOLS_MODULES_CATALOGUE_H
#define TOOLS_MODULES_CATALOGUE_H

#include <optional>
#include <string>
#include <vector>

namespace tools {

struct CatalogueParameter {
  std::string tag;
  bool is_int = false;
  std::optional<std::string> default_value;  ///< for one that may be left out
  std::string description;

  const char* type() const { return is_int ? "int" : "string"; }
};

/// Texts are UTF-8.
struct CatalogueFunction {
  std::string name;
  std::string module;
  std::string description;
  std::vector<CatalogueParameter> parameters;
};

/// Reads the JSON of fwbase::catalogue(). Throws std::runtime_error where it is none, with why.
std::vector<CatalogueFunction> functions_of(const std::string& catalogue);

}  // namespace tools

#endif
