// What the scenarios of the script engine share: a host whose functions know what they must be
// called with. They take no memory.
#ifndef FWBASE_TESTS_FAULTS_SCRIPT_HOST_H
#define FWBASE_TESTS_FAULTS_SCRIPT_HOST_H

#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/faults/alloc_faults.h"

namespace fwbase::faults {

inline const std::string kLong(60, 'l');
inline const std::string kOther(300, 'o');

inline IScript& script() { return *facade()->script(); }

inline Outcome outcome_of_script(ec::EC code, ec::EC other = 0) {
  return outcome_of(code, ec::SCRIPT_NO_MEMORY, other);
}

/// A call as it must come: a number, a text, both or neither, by the types of the function.
struct ExpectedCall {
  std::int32_t number = 0;
  std::string text = {};
  std::string ret = {};  ///< empty for none
};

/// A host function that compares its calls, one after the other, with those that are expected.
class ExpectingFunction : public IScript::ISyntax {
 public:
  using Types = std::vector<IScript::VType>;
  using Body = std::function<ec::EC(void* env)>;

  ExpectingFunction(std::string name, Types types, std::vector<ExpectedCall> calls, Body body = {})
      : m_name(std::move(name)),
        m_types(std::move(types)),
        m_calls(std::move(calls)),
        m_body(std::move(body)) {}

  const char* name() override { return m_name.c_str(); }
  IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }

  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    if (expect(m_made < m_calls.size(), "too many calls")) {
      const ExpectedCall& expected = m_calls[m_made++];
      for (std::size_t i = 0; i < m_types.size(); ++i) {
        expect(m_types[i] == IScript::VT_INT
                   ? args[i].int_value == expected.number
                   : std::strcmp(args[i].string_value, expected.text.c_str()) == 0,
               "an argument is wrong");
      }
      expect(expected.ret.empty() ? ret == nullptr
                                  : ret != nullptr && expected.ret == std::string_view(ret),
             "the name for the result is wrong");
    }
    return m_body ? m_body(env) : ec::SCRIPT_OK;
  }

  /// Whether all have been made since the last time that this was asked.
  bool all_made() { return std::exchange(m_made, 0) == m_calls.size(); }

 private:
  const std::string m_name;
  Types m_types;
  const std::vector<ExpectedCall> m_calls;
  const Body m_body;
  std::size_t m_made = 0;
};

/// The facade's engine, in service while it lives, with a host's functions.
class Engine {
 public:
  explicit Engine(std::vector<IScript::ISyntax*> functions) : m_functions(std::move(functions)) {
    offer();
  }

  void restart() {
    script().release();
    expect(ec::succeeded(script().init()), "init()");
    offer();
  }

 private:
  void offer() {
    for (IScript::ISyntax* function : m_functions) {
      expect(script().expand_syntax(function), "expand_syntax()");
    }
  }

  LoggingFacade m_running;
  const std::vector<IScript::ISyntax*> m_functions;
};

}  // namespace fwbase::faults

#endif
