// The functions that scripts are compared with: those of modules, and those of catalogues.
#ifndef FWCHECK_FUNCTIONS_H
#define FWCHECK_FUNCTIONS_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fwcheck {

struct Parameter {
  std::string tag;
  bool is_int = false;
  std::optional<std::string> default_value;  ///< for one that may be left out
  std::string description;

  const char* type() const { return is_int ? "int" : "string"; }
};

/// As a catalogue describes it. Texts are UTF-8.
struct Function {
  std::string name;
  std::string module;
  std::string description;
  std::vector<Parameter> parameters;
};

/// Reads the JSON of fwbase::catalogue(). Throws std::runtime_error where it is none, with why.
std::vector<Function> functions_of(const std::string& catalogue);

/// Functions of catalogues in the place of a host's: registered with the script engine, never
/// called. Must live until the engine is released.
class StandIns {
 public:
  StandIns();
  ~StandIns();

  /// Registers all functions of the catalogue in the file. False, and told, where it cannot be
  /// read.
  bool add(const std::string& file);

 private:
  class StandIn;

  std::vector<std::unique_ptr<StandIn>> m_all;
};

}  // namespace fwcheck

#endif
