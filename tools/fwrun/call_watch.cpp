#include "call_watch.h"

#include "output.h"

namespace fwrun {

using fwbase::IScript;

class CallWatch::Watched : public IScript::ISyntax {
 public:
  Watched(CallWatch& watch, IScript::ISyntax& inner) : m_watch(watch), m_inner(inner) {}

  const char* name() override { return m_inner.name(); }
  IScript::VType* param_types() override { return m_inner.param_types(); }
  int param_count() override { return m_inner.param_count(); }

  ec::EC call(const IScript::VValue* args, void* env, const char* ret) override {
    m_watch.before_call(name());
    const ec::EC result = m_inner.call(args, env, ret);
    m_watch.after_call(result);
    return result;
  }

 private:
  CallWatch& m_watch;
  IScript::ISyntax& m_inner;
};

CallWatch::CallWatch(ErrorLog& errors) : m_errors(errors) {}
CallWatch::~CallWatch() = default;

IScript::ISyntax* CallWatch::watch(IScript::ISyntax& function) {
  return m_functions.emplace_back(std::make_unique<Watched>(*this, function)).get();
}

IScript::ISyntax* CallWatch::find(const std::string& name) const {
  for (const std::unique_ptr<Watched>& function : m_functions) {
    if (function->name() == name) {
      return function.get();
    }
  }
  return nullptr;
}

void CallWatch::begin(const std::string& section) {
  m_section = section;
  m_succeeded = 0;
  m_errors.take_errors();
}

// What has been logged since the last call is about the arguments of this one: the engine goes on
// with 0 or an empty text for a variable that it does not find, which a script seldom means.
void CallWatch::before_call(const char* function) {
  for (const std::string& error : m_errors.take_errors()) {
    complain("warning: section '" + m_section + "', call " + std::to_string(m_succeeded + 1) +
             ", " + function + ": " + error);
  }
}

void CallWatch::after_call(ec::EC result) {
  if (ec::succeeded(result)) {
    ++m_succeeded;
    m_errors.take_errors();
  }
}

}  // namespace fwrun
