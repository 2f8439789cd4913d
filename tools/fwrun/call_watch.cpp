// The engine calls a watcher, and the watcher calls the function: each call passes here.
#include "call_watch.h"

#include <algorithm>
#include <new>
#include <utility>

#include <fwbase/function.h>
#include <fwbase/ifwbase.h>
#include <fwbase/module.h>

#include "interruption.h"
#include "output.h"

namespace fwrun {

using fwbase::IFWBase;

// The function's library may be gone when this is destroyed.
class CallWatch::Watched : public ISyntax, public fwbase::IFunctionDescription {
 public:
  Watched(CallWatch& watch, ISyntax& inner)
      : m_watch(watch), m_inner(inner), m_told(fwbase::description_of(inner)) {
    for (int i = 1; m_told == nullptr && i <= inner.param_count(); ++i) {
      m_tags.push_back("arg" + std::to_string(i));
    }
  }

  const char* name() override { return m_inner.name(); }
  VType* param_types() override { return m_inner.param_types(); }
  int param_count() override { return m_inner.param_count(); }

  ec::EC call(const VValue* args, void* env, const char* ret) override {
    return m_watch.call(m_inner, args, env, ret);
  }

  const char* description() const override {
    return m_told != nullptr ? m_told->description() : "";
  }
  const char* param_tag(int index) const override {
    return m_told != nullptr ? m_told->param_tag(index)
                             : m_tags[static_cast<std::size_t>(index)].c_str();
  }
  const char* param_description(int index) const override {
    return m_told != nullptr ? m_told->param_description(index) : "";
  }
  const char* param_default(int index) const override {
    return m_told != nullptr ? m_told->param_default(index) : nullptr;
  }

 private:
  CallWatch& m_watch;
  ISyntax& m_inner;
  const fwbase::IFunctionDescription* const m_told;  // null when the function has none
  std::vector<std::string> m_tags;                   // of the parameters then
};

CallWatch::CallWatch(tools::ErrorLog& errors)
    : ForwardingScript(*IFWBase::instance()->script()), m_errors(errors) {
  IFWBase::instance()->script(this);
}

CallWatch::~CallWatch() {
  if (IFWBase::instance()->script() == this) {
    IFWBase::instance()->script(&inner());
  }
}

bool CallWatch::expand_syntax(ISyntax* syntax) {
  if (syntax == nullptr || syntax->name() == nullptr) {
    return inner().expand_syntax(syntax);  // which refuses it, with a record
  }
  Watched* watched = nullptr;
  Watched** latest = nullptr;
  try {
    const support::MutexGuard guard(m_mutex);
    watched = m_functions.emplace_back(std::make_unique<Watched>(*this, *syntax)).get();
    latest = &m_latest[syntax->name()];
  } catch (const std::bad_alloc&) {
    FWBASE_LOG(ERROR, "no memory to watch a script function");
    return false;
  }
  if (!inner().expand_syntax(watched)) {
    return false;
  }
  const support::MutexGuard guard(m_mutex);
  *latest = watched;
  return true;
}

fwbase::IScript::ISyntax* CallWatch::find(const std::string& name) const {
  const support::MutexGuard guard(m_mutex);
  const auto found = m_latest.find(name);
  return found != m_latest.end() ? found->second : nullptr;
}

void CallWatch::begin(const Section& section, const std::vector<Variable>& globals) {
  m_is_counting = true;
  m_section = &section;
  m_globals = &globals;
  m_succeeded = 0;
  m_errors.take_errors();
}

ec::EC CallWatch::call(ISyntax& function, const VValue* args, void* env, const char* ret) {
  if (was_interrupted()) {
    return kInterrupted;
  }
  // Calls in other threads, and those that a counted call makes, are not counted.
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

// Errors since the last call are about the arguments of this one. For a variable that does not
// exist the engine passes 0 or an empty text, which scripts seldom intend.
void CallWatch::before_call(const char* function) {
  const std::vector<std::string> errors = m_errors.take_errors();
  for (const std::string& error : errors) {
    complain(
        {"warning: section '{1}', call {2}, {3}: {4}", "警告：节“{1}”，第 {2} 个调用，{3}：{4}"},
        {m_section->name, std::to_string(m_succeeded + 1), function, error});
  }
  if (!errors.empty() && m_succeeded < m_section->calls.size()) {
    explain_references(m_section->calls[m_succeeded], errors);
  }
}

// A "ref" to a variable of "Data" looks in the wrong table.
void CallWatch::explain_references(const ScriptCall& call,
                                   const std::vector<std::string>& errors) const {
  for (const Argument& argument : call.arguments) {
    const auto is_told = [&](const std::string& error) {
      return error.find("[" + argument.text + "]") != error.npos ||
             error.find("env[") != error.npos;
    };
    const auto is_meant = [&](const Variable& one) { return one.name == argument.text; };
    const auto global = std::find_if(m_globals->begin(), m_globals->end(), is_meant);
    if (argument.is_variable && global != m_globals->end() &&
        std::any_of(errors.begin(), errors.end(), is_told)) {
      complain({"  a ref reads the environment, where there is no '{1}'; {2} reads the global "
                "variable of that name",
                "  ref 读取环境变量，其中没有“{1}”；{2} 读取同名的全局变量"},
               {argument.text, global->type == "int" ? "load_int" : "load_string"});
    }
  }
}

void CallWatch::after_call(ec::EC result) {
  if (ec::succeeded(result)) {
    ++m_succeeded;
    m_errors.take_errors();
  }
}

}  // namespace fwrun
