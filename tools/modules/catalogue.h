// The functions of a catalogue, which scripts may call.
#ifndef TOOLS_MODULES_CATALOGUE_H
#define TOOLS_MODULES_CATALOGUE_H

#include <optional>
#include <string>
#include <vector>

namespace tools {

struct CatalogueParameter {
  std::string tag;
  bool is_int = false;
  std::optional<std::string> default_value;  ///< of an optional parameter
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

/// Reads the JSON of fwbase::catalogue(). Throws std::runtime_error, which says what is wrong.
std::vector<CatalogueFunction> functions_of(const std::string& catalogue);

}  // namespace tools

#endif
