// What a script file holds, read without running anything.
#ifndef FWRUN_SCRIPT_FILE_H
#define FWRUN_SCRIPT_FILE_H

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace fwrun {

/// Things that have a name, in the order of the file. Of several with one name the first is found.
template <typename Named>
class NamedList {
 public:
  void add(Named one) {
    m_places.emplace(one.name, m_all.size());
    m_all.push_back(std::move(one));
  }

  /// Null when there is none. Valid until another one is added.
  const Named* find(const std::string& name) const {
    const auto found = m_places.find(name);
    return found != m_places.end() ? &m_all[found->second] : nullptr;
  }

  std::size_t size() const { return m_all.size(); }
  auto begin() const { return m_all.begin(); }
  auto end() const { return m_all.end(); }

 private:
  std::vector<Named> m_all;
  std::unordered_map<std::string, std::size_t> m_places;
};

/// Counted from 1.
struct Place {
  unsigned int line = 1;
  unsigned int column = 1;
};

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
  Place place = {};    ///< of its arguments: the "params", or the call without any
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
  NamedList<Function> functions;
  NamedList<Section> sections;
  std::vector<Variable> variables;
  std::vector<std::string> other_processes;  ///< names of those that the engine passes over
};

/// Reads the file with the reader of the library. What a script must have and this one lacks
/// is left empty: the engine's loading checks it. On failure `why` says what is wrong.
bool read_script_file(const std::string& path, ScriptFile& script, std::string& why);

/// Why a file cannot be read, such as "No such file or directory"; empty when it can.
std::string reason_unreadable(const std::string& path);

}  // namespace fwrun

#endif
