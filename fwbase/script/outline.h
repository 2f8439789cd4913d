// The content of a script file as it stands, right or wrong, for programs that show it.
#ifndef FWBASE_SCRIPT_OUTLINE_H
#define FWBASE_SCRIPT_OUTLINE_H

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "fwbase/script/place.h"

namespace fwbase::script {

/// Things with names, in the order of the file. find() gives the first of several with one name.
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

  Named& back() { return m_all.back(); }
  std::size_t size() const { return m_all.size(); }
  auto begin() const { return m_all.begin(); }
  auto end() const { return m_all.end(); }

 private:
  std::vector<Named> m_all;
  std::unordered_map<std::string, std::size_t> m_places;
};

/// Plain texts. A text is empty when the file lacks it or the code page cannot express it.
struct Outline {
  struct Parameter {
    std::string tag;
    std::string type;                          ///< "int" or "string"
    std::optional<std::string> default_value;  ///< for one that may be left out
  };
  struct Function {
    std::string name;
    std::vector<Parameter> parameters;
  };

  struct Variable {
    std::string name;
    std::string type;
    std::string value;
  };

  struct Argument {
    std::string tag;
    std::string text;  ///< the value, or the name of the variable
    bool is_variable;
  };
  struct Call {
    std::string function;
    std::vector<Argument> arguments;
    std::string result;  ///< the variable that "ret" names; empty for none
    Place place = {};    ///< of the "params"; of the call when it has none
  };
  struct Section {
    std::string name;
    std::vector<Call> calls;  ///< as the engine runs them
  };

  NamedList<Function> functions;
  std::vector<Variable> variables;
  NamedList<Section> sections;
  std::vector<std::string> other_processes;  ///< names of processes that the engine ignores
};

}  // namespace fwbase::script

#endif
