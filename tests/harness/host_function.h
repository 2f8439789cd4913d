// A host function for scripts: does what it is given, and keeps what it was called with.
#ifndef FWBASE_TESTS_HARNESS_HOST_FUNCTION_H
#define FWBASE_TESTS_HARNESS_HOST_FUNCTION_H

#include <fwbase/iscript.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace fwbase::test {

class HostFunction : public IScript::ISyntax {
 public:
  using Body = std::function<ec::EC(const IScript::VValue* args, void* env, const char* ret)>;

  explicit HostFunction(std::string name, std::vector<IScript::VType> types = {}, Body body = {})
      : m_name(std::move(name)), m_types(std::move(types)), m_body(std::move(body)) {}

  const char* name() override { return m_name.c_str(); }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }

  /// Keeps the call, then runs the body; without one every call succeeds.
  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    std::string text = m_name + "(";
    for (std::size_t i = 0; i < m_types.size(); ++i) {
      text += i == 0 ? "" : ",";
      text += m_types[i] == IScript::VT_INT ? std::to_string(args[i].int_value)
                                            : "'" + std::string(args[i].string_value) + "'";
    }
    m_calls.push_back(text + ")" + (ret != nullptr ? "->" + std::string(ret) : ""));
    m_envs.push_back(env);
    return m_body ? m_body(args, env, ret) : ec::SCRIPT_OK;
  }

  void set_body(Body body) { m_body = std::move(body); }

  /// The calls so far, such as "add(1,'text')->result", and their environments.
  const std::vector<std::string>& calls() const { return m_calls; }
  const std::vector<void*>& envs() const { return m_envs; }

 private:
  std::string m_name;
  std::vector<IScript::VType> m_types;
  Body m_body;
  std::vector<std::string> m_calls;
  std::vector<void*> m_envs;
};

}  // namespace fwbase::test

#endif
