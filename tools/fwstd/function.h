// One script function: a name, its parameter types and a body.
#ifndef FWSTD_FUNCTION_H
#define FWSTD_FUNCTION_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <fwbase/irunlog.h>
#include <fwbase/iscript.h>

namespace fwstd {

/// One call of a function, as its body sees it. Lives as long as the call.
class Call {
 public:
  Call(const char* function, const void* object, const fwbase::IScript::VValue* args, void* env,
       const char* ret)
      : m_function(function), m_object(object), m_args(args), m_env(env), m_ret(ret) {}

  /// The argument at `index`, counted from 0, which the function declares as an int or a string.
  std::int32_t number(int index) const { return m_args[index].int_value; }
  const char* text(int index) const { return m_args[index].string_value; }

  /// The environment that the section runs in.
  void* env() const { return m_env; }

  /// Stores the result under the name that the call gives in "ret", in the environment. A call
  /// without "ret" drops it, which is a success.
  ec::EC give(std::int32_t result) const;
  ec::EC give(const std::string& result) const;

  /// Logs why the call fails, at ERROR, and returns `code`. `reason` is UTF-8.
  ec::EC fail(ec::EC code, const std::string& reason, const char* file = __builtin_FILE(),
              int line = __builtin_LINE()) const;

  /// Writes one record to the run log when its level is enabled. `message` is UTF-8.
  void log(fwbase::IRunLog::Type level, const std::string& message,
           const char* file = __builtin_FILE(), int line = __builtin_LINE()) const;

 private:
  const char* m_function;
  const void* m_object;
  const fwbase::IScript::VValue* m_args;
  void* m_env;
  const char* m_ret;
};

class Function : public fwbase::IScript::ISyntax {
 public:
  typedef ec::EC (*Body)(const Call& call);

  Function(const char* name, std::vector<fwbase::IScript::VType> types, Body body)
      : m_name(name), m_types(std::move(types)), m_body(body) {}

  const char* name() override { return m_name; }
  fwbase::IScript::VType* param_types() override { return m_types.data(); }
  int param_count() override { return static_cast<int>(m_types.size()); }

  /// Runs the body. Memory that runs out in it becomes ec::SCRIPT_NO_MEMORY.
  ec::EC call(const fwbase::IScript::VValue* args, void* env, const char* ret) override;

 private:
  const char* m_name;
  std::vector<fwbase::IScript::VType> m_types;
  Body m_body;
};

}  // namespace fwstd

#endif
