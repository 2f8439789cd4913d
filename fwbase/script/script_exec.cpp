// Running a section: its calls in order, each with the arguments of this run's environment.
//
// The lock is given up around each host function. Meanwhile other runs may begin or end, variables
// may change, and a host may even release the engine: whoever gets the lock back trusts nothing
// that it has not checked or copied.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "fwbase/script/script.h"
#include "fwbase/support/run_log.h"

namespace fwbase {

using support::addr32;
using support::WriteGuard;
using support::WriteRelease;

namespace {

constexpr std::int32_t kSucceeded = 1;
constexpr std::int32_t kFailed = 2;

/// The environment of a run; null again when the run ends, by whatever way.
class RunEnvironment {
 public:
  RunEnvironment(void*& current, void* env) : m_current(current) { m_current = env; }
  ~RunEnvironment() { m_current = nullptr; }
  RunEnvironment(const RunEnvironment&) = delete;
  RunEnvironment& operator=(const RunEnvironment&) = delete;

 private:
  void*& m_current;
};

// A host's object may have lost its name.
bool is_named(IScript::ISyntax& function, const char* name) {
  const char* const own = function.name();
  return own != nullptr && std::strcmp(own, name) == 0;
}

}  // namespace

/// What one call hands to a host function: the slots, the texts that they point to, and the name
/// for the result, all copied.
class CScript::CallArguments {
 public:
  explicit CallArguments(std::size_t count)
      : m_slots(new (std::nothrow) VValue[2 * count + 1]),
        m_copies(m_slots ? m_slots.get() + count : nullptr) {
    if (m_slots) {
      std::fill(m_slots.get(), m_copies, kEmpty);
    }
  }
  ~CallArguments() {
    while (m_copy_count > 0) {
      delete[] m_copies[--m_copy_count].string_value;
    }
  }
  CallArguments(const CallArguments&) = delete;
  CallArguments& operator=(const CallArguments&) = delete;

  bool allocated() const { return m_slots != nullptr; }
  const VValue* slots() const { return m_slots.get(); }
  const char* ret() const { return m_ret; }

  void set_int(std::size_t i, std::int32_t value) { m_slots[i].int_value = value; }

  // False when memory ran out.
  bool set_text(std::size_t i, const std::string& value) {
    m_slots[i].string_value = copy(value);
    return m_slots[i].string_value != nullptr;
  }
  bool set_ret(const std::string& name) {
    m_ret = copy(name);
    return m_ret != nullptr;
  }

 private:
  static constexpr VValue kEmpty = {.string_value = nullptr};  // that is all of a slot

  const char* copy(const std::string& text) {
    char* const copied = new (std::nothrow) char[text.size() + 1];
    if (copied != nullptr) {
      std::memcpy(copied, text.c_str(), text.size() + 1);
      m_copies[m_copy_count++].string_value = copied;
    }
    return copied;
  }

  const std::unique_ptr<VValue[]> m_slots;
  VValue* const m_copies;  // behind the slots: what is to be freed
  std::size_t m_copy_count = 0;
  const char* m_ret = nullptr;
};

ec::EC CScript::execute(void*) { return ec::SCRIPT_OK; }

ec::EC CScript::exec_scommad(const char* section, void* env) {
  const WriteGuard guard(m_lock);
  const RunEnvironment run(m_env, env);
  return exec_section(section);
}

ec::EC CScript::exec_section(const char* section) {
  if (section == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=%x", addr32(section));
    return ec::SCRIPT_E_PARAM;
  }
  const auto found = m_sections.find(std::string_view(section));
  if (found == m_sections.end() || !found->second) {
    return ec::SCRIPT_E_SECTION;
  }
  const unsigned int releases = m_releases;
  ec::EC result = ec::SCRIPT_OK;
  for (Fun& call : *found->second) {
    CallArguments arguments(call.params.size());
    if (!make_arguments(call, arguments)) {
      RUN_LOG(ERROR, "分配内存失败\n");
      return ec::SCRIPT_NO_MEMORY;
    }
    call.state = kFailed;  // unless it returns a success: it may also throw
    result = call_function(function_of(*call.rule), arguments.slots(), arguments.ret());
    if (m_releases != releases) {
      return ec::SCRIPT_E_SECTION;  // the host released the engine, and the calls with it
    }
    if (ec::failed(result)) {
      return result;
    }
    call.state = kSucceeded;
  }
  return result;
}

bool CScript::make_arguments(Fun& call, CallArguments& arguments) const {
  if (!arguments.allocated() || (!call.ret.empty() && !arguments.set_ret(call.ret))) {
    return false;
  }
  std::size_t index = 0;
  for (Parament& param : call.params) {
    if (param.type == VT_INT) {
      arguments.set_int(index, int_argument(param));
    } else if (param.type == VT_STRING && !set_text_argument(param, index, arguments)) {
      return false;
    }
    ++index;
  }
  return true;
}

// A variable that cannot be read has been logged; its argument is 0 or empty and the call is made.
std::int32_t CScript::int_argument(Parament& param) const {
  if (param.ref_name.empty()) {
    return *param.data.int_value;
  }
  std::int32_t value = 0;
  read_reference(param, &value);
  return value;
}

bool CScript::set_text_argument(Parament& param, std::size_t index,
                                CallArguments& arguments) const {
  if (param.ref_name.empty()) {
    return arguments.set_text(index, *param.data.string_value);
  }
  try {
    std::string text;
    read_reference(param, &text);
    return arguments.set_text(index, text);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// A variable that was found once stays where it is as long as the call: both go with release().
void CScript::read_reference(Parament& param, void* out) const {
  const bool known = param.found != nullptr && param.found_in == m_env;
  if (known && param.found->type == param.type) {
    copy_out(*param.found, out);
    return;
  }
  if (ec::succeeded(GetValueEnv(param.ref_name, param.type, out, m_env, &param.found))) {
    param.found_in = m_env;
  }
}

ec::EC CScript::Call_Fun(const char* name, const VValue* args, const char* ret) {
  if (name == nullptr) {
    RUN_LOG(ERROR, "param is error: vname=%x", addr32(name));
    return ec::SCRIPT_E_PARAM;
  }
  return call_function(find_function(name), args, ret);
}

IScript::ISyntax* CScript::find_function(const char* name) const {
  // The one registered last wins, so the search begins at the end.
  const auto found = std::find_if(m_syntaxes.rbegin(), m_syntaxes.rend(),
                                  [name](ISyntax* syntax) { return is_named(*syntax, name); });
  if (found == m_syntaxes.rend()) {
    RUN_LOG(ERROR, "不存在的脚本函数:(%s)", name);
    return nullptr;
  }
  return *found;
}

IScript::ISyntax* CScript::function_of(XmlFuncRule& rule) {
  const char* const name = rule.name.c_str();
  if (rule.registrations == m_registrations && is_named(*rule.function, name)) {
    return rule.function;
  }
  rule.function = find_function(name);
  rule.registrations = rule.function != nullptr ? m_registrations : 0;
  return rule.function;
}

ec::EC CScript::call_function(ISyntax* function, const VValue* args, const char* ret) {
  if (function == nullptr) {
    return ec::SCRIPT_NO_FUNC;
  }
  void* const env = m_env;
  ec::EC result;
  {
    const WriteRelease unlocked(m_lock);
    result = function->call(args, env, ret);
  }
  m_env = env;  // other runs may have begun or ended meanwhile
  return result;
}

void CScript::ClearParam(std::list<Parament>& params) {
  for (Parament& param : params) {
    DelData(param.type, param.data);
  }
  params.clear();
}

}  // namespace fwbase
