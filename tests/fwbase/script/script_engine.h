// What the script engine's tests share: an engine in service, and views of its tables.
#ifndef FWBASE_TESTS_FWBASE_SCRIPT_SCRIPT_ENGINE_H
#define FWBASE_TESTS_FWBASE_SCRIPT_SCRIPT_ENGINE_H

#include <map>
#include <string>
#include <vector>

#include "fwbase/script/script.h"
#include "tests/support/host_function.h"
#include "tests/support/log_capture.h"
#include "tests/support/script_file.h"

namespace fwbase::test {

constexpr IScript::VType kUnknownType = static_cast<IScript::VType>(7);

/// Initialised when made, released when it goes.
class ScriptEngine : public CScript {
 public:
  ScriptEngine() { init(); }
  ~ScriptEngine() override { release(); }

  /// Loads a script from a file that is gone afterwards.
  ec::EC load_text(const std::string& text) { return load_script(ScriptFile(text).path()); }

  ec::EC set(const std::string& name, std::int32_t value) {
    return set_value(name.c_str(), VT_INT, &value);
  }
  ec::EC set(const std::string& name, const std::string& value) {
    return set_value(name.c_str(), VT_STRING, &value);
  }
  ec::EC set_env(const std::string& name, std::int32_t value, void* env) {
    return set_value_env(name.c_str(), VT_INT, &value, env);
  }
  ec::EC set_env(const std::string& name, const std::string& value, void* env) {
    return set_value_env(name.c_str(), VT_STRING, &value, env);
  }

  /// A table as {{"x", "int 5"}, {"y", "string text"}}.
  using Shown = std::map<std::string, std::string>;
  Shown values() const {
    const support::ReadGuard guard(m_lock);
    return shown(m_values);
  }
  Shown env_values(void* env) const {
    const support::ReadGuard guard(m_lock);
    const auto found = m_env_values.find(env);
    return found == m_env_values.end() ? Shown{{"no", "table"}} : shown(*found->second);
  }

  /// A section's calls, such as "f(int 1,string a,ref x)->ret", or {"no section"}.
  std::vector<std::string> calls(const std::string& section) const {
    const support::ReadGuard guard(m_lock);
    const auto found = m_sections.find(section);
    if (found == m_sections.end() || !found->second) {
      return {"no section"};
    }
    std::vector<std::string> texts;
    for (const Fun& call : *found->second) {
      texts.push_back(shown(call));
    }
    return texts;
  }

  std::vector<int> states(const std::string& section) const {
    const support::ReadGuard guard(m_lock);
    std::vector<int> states;
    for (const Fun& call : *m_sections.find(section)->second) {
      states.push_back(call.state);
    }
    return states;
  }

  std::vector<std::string> section_names() const {
    const support::ReadGuard guard(m_lock);
    return keys(m_sections);
  }
  std::vector<std::string> func_names() const {
    const support::ReadGuard guard(m_lock);
    return keys(m_func_rules);
  }
  std::vector<std::string> template_names() const {
    const support::ReadGuard guard(m_lock);
    return keys(m_templates);
  }
  std::vector<VType> signature(const std::string& name) const {
    const support::ReadGuard guard(m_lock);
    const auto found = m_templates.find(name);
    return {found->second.begin(), found->second.end()};
  }
  /// A declared function's parameters, such as "tag:int:must" or "tag:string:'default'".
  std::vector<std::string> declared(const std::string& name) const {
    const support::ReadGuard guard(m_lock);
    std::vector<std::string> texts;
    for (const XmlFuncParamRule& param : m_func_rules.find(name)->second.params) {
      texts.push_back(param.tag + (param.type == VT_INT ? ":int:" : ":string:") +
                      (param.must ? "must" : "'" + param.defaultval + "'"));
    }
    return texts;
  }
  std::vector<ISyntax*> syntaxes() const {
    const support::ReadGuard guard(m_lock);
    return {m_syntaxes.begin(), m_syntaxes.end()};
  }

  std::string script_file() const {
    const support::ReadGuard guard(m_lock);
    return m_script_file;
  }
  std::string cur_section() const {
    const support::ReadGuard guard(m_lock);
    return m_cur_section;
  }
  bool modified() const {
    const support::ReadGuard guard(m_lock);
    return m_modified;
  }
  void* env() const {
    const support::ReadGuard guard(m_lock);
    return m_env;
  }

 private:
  static Shown shown(const ValueTable& table) {
    Shown texts;
    for (const auto& [name, value] : table) {
      texts[name] = shown(value.type, value.data);
    }
    return texts;
  }

  static std::string shown(VType type, const Value::Data& data) {
    if (data.int_value) {
      return (type == VT_INT ? "int " : "? ") + std::to_string(*data.int_value);
    }
    if (data.string_value) {
      return (type == VT_STRING ? "string " : "? ") + *data.string_value;
    }
    return "nothing";
  }

  static std::string shown(const Fun& call) {
    std::string text = call.name + "(";
    for (const Parament& param : call.params) {
      text += text.back() == '(' ? "" : ",";
      text += param.ref_name.empty() ? shown(param.type, param.data) : "ref " + param.ref_name;
    }
    return text + ")" + (call.ret.empty() ? "" : "->" + call.ret);
  }

  template <typename Map>
  static std::vector<std::string> keys(const Map& map) {
    std::vector<std::string> names;
    for (const auto& [name, ignored] : map) {
      names.push_back(name);
    }
    return names;
  }
};

}  // namespace fwbase::test

#endif
