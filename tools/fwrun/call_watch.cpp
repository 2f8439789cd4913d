#include "call_watch.h"

#include <new>
#include <utility>

#include <fwbase/ifwbase.h>
#include <fwbase/module.h>

#include "output.h"

namespace fwrun {

using fwbase::IFWBase;

// The function's library may be gone when this is destroyed.
class CallWatch::Watched : public ISyntax {
 public:
  Watched(CallWatch& watch, ISyntax& inner) : m_watch(watch), m_inner(inner) {}

  const char* name() override { return m_inner.name(); }
  VType* param_types() override { return m_inner.param_types(); }
  int param_count() override { return m_inner.param_count(); }

  ec::EC call(const VValue* args, void* env, const char* ret) override {
    return m_watch.call(m_inner, args, env, ret);
  }

 private:
  CallWatch& m_watch;
  ISyntax& m_inner;
};

CallWatch::CallWatch(tools::ErrorLog& errors)
    : m_inner(IFWBase::instance()->script(this)), m_errors(errors) {}

CallWatch::~CallWatch() {
  if (IFWBase::instance()->script() == this) {
    IFWBase::instance()->script(m_inner);
  }
}

bool CallWatch::expand_syntax(ISyntax* syntax) {
  if (syntax == nullptr || syntax->name() == nullptr) {
    return m_inner->expand_syntax(syntax);  // which refuses it and says why
  }
  Watched* watched = nullptr;
  Watched** latest = nullptr;
  try {
    const std::lock_guard<std::mutex> guard(m_mutex);
    watched = m_functions.emplace_back(std::make_unique<Watched>(*this, *syntax)).get();
    latest = &m_latest[syntax->name()];
  } catch (const std::bad_alloc&) {
    FWBASE_LOG(ERROR, "no memory to watch a script function");
    return false;
  }
  if (!m_inner->expand_syntax(watched)) {
    return false;
  }
  const std::lock_guard<std::mutex> guard(m_mutex);
  *latest = watched;
  return true;
}

fwbase::IScript::ISyntax* CallWatch::find(const std::string& name) const {
  const std::lock_guard<std::mutex> guard(m_mutex);
  const auto found = m_latest.find(name);
  return found != m_latest.end() ? found->second : nullptr;
}

void CallWatch::begin(const std::string& section) {
  m_is_counting = true;
  m_section = section;
  m_succeeded = 0;
  m_errors.take_errors();
}

ec::EC CallWatch::call(ISyntax& function, const VValue* args, void* env, const char* ret) {
  // Calls for other threads, and those that a counted call makes.
  if (std::this_thread::get_id() != m_thread || !m_is_counting) {
    return function.call(args, env, ret);
  }
  before_call(function.name());
  struct Pause {
    bool& counting;
    explicit Pause(bool& is_counting) : counting(is_counting) { counting = false; }
    ~Pause() { counting = true; }
  };
  ec::EC result = 0;
  {
    const Pause pause(m_is_counting);
    result = function.call(args, env, ret);
  }
  after_call(result);
  return result;
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
