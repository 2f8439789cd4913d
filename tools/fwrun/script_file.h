// What a script file holds, read without running anything.
#ifndef FWRUN_SCRIPT_FILE_H
#define FWRUN_SCRIPT_FILE_H

#include <optional>
#include <string>
#include <vector>

namespace fwrun {

struct Parameter {
  std::string tag;
  std::string type;                          ///< "int" or "string"
  std::optional<std::string> default_value;  ///< for one that may be left out
};

struct Function {
  std::string name;
  std::vector<Parameter> parameters;
};

struct Argument {
  std::string tag;
  std::string text;  ///< the value, or the name of the variable
  bool is_variable;
};

struct ScriptCall {
  std::string function;
  std::vector<Argument> arguments;
  std::string result;  ///< the variable that "ret" names; empty for none
};

struct Section {
  std::string name;
  std::vector<ScriptCall> calls;  ///< as the engine runs them
};

struct Variable {
  std::string name;
  std::string type;
  std::string value;
};

struct ScriptFile {
  std::vector<Function> functions;
  std::vector<Section> sections;
  std::vector<Variable> variables;
  std::vector<std::string> other_processes;  ///< names of those that the engine passes over

  const Section* section(const std::string& name) const;
  const Function* function(const std::string& name) const;
};

/// Reads the file; the engine must be initialised. What a script must have and this one lacks
/// is left empty: the engine's loading checks it. On failure `why` says what is wrong.
bool read_script_file(const std::string& path, ScriptFile& script, std::string& why);

/// Why a file cannot be read, such as "No such file or directory"; empty when it can.
std::string reason_unreadable(const std::string& path);

}  // namespace fwrun

#endif
